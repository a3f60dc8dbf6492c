#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/include/cficontextsingleton.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/tests/scenario.h"
#include "providers/cdp/tests/support/trace_recorder.h"

extern "C" {
OBZX_FI_DECLARE(cdpfi, init);
OBZX_FI_DECLARE(cdpfi, fini);
}

namespace cdpfi {

/// A node of the host's tree.
class CNode
{
  public:
    CNode(const char* name);  // NOLINT(google-explicit-constructor): nodes are listed by their names
    ~CNode();
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;
    obz_domain* get() { return &m_node; }
    obz_domain* operator->() { return &m_node; }
    int32_t access() const { return m_access; }
    void setAccess(int32_t access) { m_access = access; }

  private:
    obzx_objid* m_identity;
    int32_t m_access = 0;
    obz_domain m_node{};
};

/// A message as the host's callback got it.
struct SMessage
{
    std::string m_localized;
    std::string m_text;
    obz_eseverity m_severity;
};

/// A provider in this process, started through its own entry point, on a scenario's tools.
class CPluginTest : public testing::Test
{
  protected:
    CPluginTest();
    ~CPluginTest() override;

    /// Starts the provider and forgets the trace and the commands of the start.
    void start();
    int32_t init(const char* locale = nullptr);
    void fini();
    /// Ends what outlives an end of the provider.
    static void forget();
    CCDPPlugin& plugin();
    /// The operations that this host's nodes need; ids as the scenario has them.
    int32_t initNode(CNode& node);
    obzx_pdk_4_4::CFiSessionPtr session(const char* name, const std::vector<CNode*>& nodes);
    static std::string targetName(const std::string& serial, const std::string& checkPoint);
    static std::string checkPoint();
    static std::string timeImage();
    /// Compares what was traced since the last look, all of it, with the file of the running test,
    /// expected/<suite>/<test>[.<part>].trace.
    void expectTrace(const std::string& part = "");

    CScenario m_scenario;
    CTraceRecorder m_trace;
    std::vector<SMessage> m_messages;

  private:
    static void receive(obz_context* context, const char* localized, const char* text, obz_eseverity severity);

    std::string m_locale;
    char* m_localeText = nullptr;
    obz_context m_context{};
    bool m_started = false;
};

std::string str(const CString& text);

}  // namespace cdpfi
