#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/lmr_appliance.h"

namespace cdpfi {

/**
 * A test with a root directory of its own, in which the fake tool stands for the appliance's shell and for the disk
 * utility, and with everything that is traced at level 6 and below.
 */
class CLmrTest : public ::testing::Test
{
  protected:
    CLmrTest();
    ~CLmrTest() override;

    /// What the tools answer, in the form that fake_tool.c describes.
    void setScenario(const std::string& text) const;
    /// Entry of a scenario.
    static std::string answerTo(const std::string& request, const std::string& output, int exitStatus = 0);
    /// Entry of a scenario whose output is the exact bytes.
    std::string answerWithBytes(const std::string& request, const std::string& bytes);

    /// What the tools were sent so far; told once.
    std::string takeSent() const;
    /// "L<level> <text>" of each trace line so far; told once. Line numbers and the root directory are left out.
    std::vector<std::string> takeTrace();
    /// The runner, set up as an appliance does it.
    CLMRApplianceToolPtr setUpTool() const;
    /// The device manager, set up as an appliance does it, with nothing read.
    CLMRDeviceManagerPtr setUpDevices() const;
    /// A group of appliance "alpha" that traces.
    obzx_pdk_4_4::CFiSmartPtr<CLMRConsistencyGroup> makeGroup(const char* name) const;
    /// An appliance that traces.
    obzx_pdk_4_4::CFiSmartPtr<CLMRAppliance> makeAppliance(const char* name) const;
    void observe(int level);

    void writeConfiguration(const std::string& text) const;
    void writeFile(const std::string& path, const std::string& bytes) const;
    std::string readFile(const std::string& path) const;
    /// Files that scripts left behind.
    size_t countScripts() const;

    /**
     * Compares what was sent and what was traced since the last look, all of it, with
     * tests/expected/<suite>/<test>[.<part>].call. UPDATE_EXPECTED=1 in the environment rewrites the files.
     */
    void expectCall(const std::string& part = "");
    /// Compares with tests/expected/<name>; what differs is left in the folder of the test program.
    static void expectFile(const std::string& name, const std::string& actual);
    static std::string joined(const std::vector<std::string>& lines);

    const std::string& root() const { return m_root; }
    const obzx_pdk_4_4::CFiTraceLogPtr& log() const { return m_log; }

  private:
    static void onTrace(void* user, int32_t level, const char* component, const char* text);

    std::string m_root;
    std::string m_scenario;
    obzx_pdk_4_4::CFiTraceLogPtr m_log;
    std::mutex m_mutex;
    std::vector<std::string> m_trace;
    int m_answerFiles = 0;
};

using CGroupPtr = obzx_pdk_4_4::CFiSmartPtr<CLMRConsistencyGroup>;
using CApplianceTestPtr = obzx_pdk_4_4::CFiSmartPtr<CLMRAppliance>;

}  // namespace cdpfi
