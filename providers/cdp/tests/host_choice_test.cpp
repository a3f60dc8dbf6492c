#include "providers/cdp/cdp_host_choice.h"

#include <gtest/gtest.h>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/lmr_host.h"
#include "providers/cdp/tests/scenario.h"
#include "providers/cdp/tests/support/trace_recorder.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiTraceLog;
using obzx_pdk_4_4::CFiTraceLogPtr;

class HostChoice : public testing::Test
{
  protected:
    HostChoice() : m_log(true), m_network("cdpfi")
    {
        m_log->initialize("cdpfi", "", "", 1, false);
        m_tracer.registerTraceLog(m_log);
    }

    CHostPtr choose(const std::vector<const char*>& names)
    {
        m_hosts.clear();
        for (const char* name : names) {
            m_hosts.emplace_back(CHostPtr(new CLMRHost(CString(name))));
        }
        return chooseLocalHost(m_hosts, m_network, m_tracer);
    }

    CScenario m_scenario;  // names this host 192.0.2.77
    CTraceRecorder m_trace;
    CFiTraceLogPtr m_log;
    obzx_pdk_4_4::CFiTraceable m_tracer;
    obzx_cmn_4_4::CCmnNetwork m_network;
    std::vector<CHostPtr> m_hosts;
};

}  // namespace

TEST_F(HostChoice, TakesTheHostThatIsTheSameAsThisOne)
{
    const CHostPtr chosen = choose({"192.0.2.1", "192.0.2.77", "192.0.2.2"});
    ASSERT_TRUE(chosen);
    EXPECT_EQ(CString("192.0.2.77"), chosen->getName());
    EXPECT_TRUE(m_trace.has("L3 importNode - Setting host to localhost [192.0.2.77]"));
    EXPECT_TRUE(
        m_trace.has("L3 importNode - Found a entry in appliance host list matching with hostName [192.0.2.77]"));
}

TEST_F(HostChoice, OfSeveralHostsThatMatchTheLastIsTaken)
{
    const CHostPtr chosen = choose({"192.0.2.77", "192.0.2.1", "192.0.2.77"});
    EXPECT_EQ(m_hosts[2], chosen);
}

TEST_F(HostChoice, WithoutAMatchTheTraceNamesThisHost)
{
    EXPECT_FALSE(choose({"192.0.2.1"}));
    EXPECT_TRUE(m_trace.has("L1 Could not find host [192.0.2.77] in appliance configuration"));
}

TEST_F(HostChoice, AnEmptyListHasNoMatch)
{
    EXPECT_FALSE(choose({}));
    EXPECT_TRUE(m_trace.has("L1 Could not find host [192.0.2.77] in appliance configuration"));
}

TEST_F(HostChoice, TracesBothHostsForEveryCandidate)
{
    choose({"192.0.2.1"});
    EXPECT_TRUE(m_trace.has("L3 importNode - obzxHost[192.0.2.77][192.0.2.77][192.0.2.77]"));
    EXPECT_TRUE(m_trace.has("L3 importNode - applianceHost[192.0.2.1][192.0.2.1][192.0.2.1]"));
}

}  // namespace cdpfi
