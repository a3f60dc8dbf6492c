#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/src/appliance_report.h"
#include "host/src/provider_library.h"

namespace fictl {

/**
 * A running provider: init in the constructor, fini in the destructor. Collects the failure lines that the provider
 * traces and the messages of its error stack, so that a failing step can be reported with the appliance's own words.
 * One at a time in a process; used by one thread, while the provider may report from any.
 */
class CProvider
{
  public:
    /// Throws EFictl (PROVIDER) when the provider does not start or speaks another interface version.
    explicit CProvider(const std::string& nameOrPath);
    ~CProvider();
    CProvider(const CProvider&) = delete;
    CProvider& operator=(const CProvider&) = delete;

    const CProviderLibrary& library() const { return m_library; }
    const SEntryPoints& call() const { return m_library.calls(); }
    const std::string& name() const { return m_library.name(); }

    /// What was reported since the last take.
    SApplianceReport takeReport();
    /// Drops what was reported so far; called before a step whose own report is wanted.
    void forgetReport();

  private:
    static void onTrace(void* user, int32_t level, const char* component, const char* text);
    static void onMessage(obz_context* context, const char* localized, const char* text, obz_eseverity severity);
    void stop();

    CProviderLibrary m_library;
    std::mutex m_lock;  // guards the two below
    std::vector<STraceLine> m_trace;
    std::vector<std::string> m_messages;
    obz_context m_context{};
    obz_version m_version{};
};

}  // namespace fictl
