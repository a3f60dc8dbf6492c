#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "base/tests/test_root.h"
#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/tests/support/trace_recorder.h"

namespace cdpfi {

/**
 * A test with a root directory of its own, in which the fake tool stands for the appliance's shell and for the disk
 * utility, and with everything that is traced at level 6 and below.
 */
class CFakeToolTest : public ::testing::Test
{
  protected:
    CFakeToolTest();
    ~CFakeToolTest() override;

    /// What the tools answer, in the form that fake_tool.c describes.
    void setScenario(const std::string& text) const;
    /// Entry of a scenario.
    static std::string answerTo(const std::string& request, const std::string& output, int exitStatus = 0);
    /// Entry of a scenario whose output is the exact bytes.
    std::string answerWithBytes(const std::string& request, const std::string& bytes);

    /// What the tools were sent so far; told once.
    std::string takeSent() const;
    /// The lines that were traced so far; told once.
    std::vector<std::string> takeTrace() { return m_trace.take(); }
    /// Lets what was sent and traced so far be what nobody asks for.
    void forget()
    {
        takeSent();
        takeTrace();
    }
    void observe(int32_t level) { m_trace.observe(level); }
    /// The runner, set up as an appliance does it.
    CLMRApplianceToolPtr setUpTool() const;
    /// The device manager, set up as an appliance does it, with nothing read.
    CLMRDeviceManagerPtr setUpDevices() const;
    /// A group of appliance "alpha" that traces.
    obzx_pdk_4_4::CFiSmartPtr<CLMRConsistencyGroup> makeGroup(const char* name) const;
    /// An appliance that traces.
    obzx_pdk_4_4::CFiSmartPtr<CLMRAppliance> makeAppliance(const char* name) const;

    /// The configuration of a test, with so many commands of an inventory at once; without it, one after the other.
    void setParallel(int count, const std::string& more = "") const;
    void writeConfiguration(const std::string& text) const;
    /// Files that scripts left behind.
    size_t countScripts() const;

    /// The time limits, in seconds, of the tools that run within the call.
    static std::vector<uint64_t> limitsWithin(const std::function<void()>& call);

    /// Compares what was sent and what was traced since the last look, all of it, with the file of the running test,
    /// expected/<suite>/<test>[.<part>].call.
    void expectCall(const std::string& part = "");

    const base_test::CTestRoot& root() const { return m_root; }
    const obzx_pdk_4_4::CFiTraceLogPtr& log() const { return m_log; }

  private:
    const base_test::CTestRoot m_root;
    const base_test::CEnvironmentValue m_temporaryFiles{"TMPDIR", m_root / "tmp"};
    const base_test::CEnvironmentValue m_scenario{"FAKE_TOOL_SCENARIO", m_root / "scenario"};
    obzx_pdk_4_4::CFiTraceLogPtr m_log;
    CTraceRecorder m_trace;
    int m_answerFiles = 0;
};

using CGroupPtr = obzx_pdk_4_4::CFiSmartPtr<CLMRConsistencyGroup>;
using CLMRAppliancePtr = obzx_pdk_4_4::CFiSmartPtr<CLMRAppliance>;

}  // namespace cdpfi
