// How an appliance reads its hosts and groups.

#include "providers/cdp/lmr/tests/lmr_fixture.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using CLines = std::vector<std::string>;

std::string groupListing(const std::string& protectedLuns)
{
    return "Name: group\nProtected LUNS:\n" + protectedLuns + "Monitor LUNS:\nPermissions:\nStillmark LUNs:\n";
}

class CLmrInventory : public CLmrTest
{
  protected:
    CLmrInventory() : m_appliance(makeAppliance("alpha")) { setUpTool(); }

    CLines groups() const
    {
        CLines names;
        for (const CConsistencyGroupPtr& group : m_appliance->getConsistencyGroupList()) {
            std::string text = std::string(group->getName().c_str()) + ":";
            for (const SCDPDeviceInfo& device : group->getDeviceList()) {
                text += std::string(" ") + device.m_device.c_str() + "=" + device.m_serial.c_str();
            }
            names.push_back(text);
        }
        return names;
    }
    CLines hosts() const
    {
        CLines names;
        for (const CHostPtr& host : m_appliance->getHostList())
            names.emplace_back(host->getName().c_str());
        return names;
    }
    /// Loads one group "cg" with that listing.
    void loadGroup(const std::string& listing)
    {
        setScenario(answerTo(" list  cgroups ", "cg luns=1\n") + answerTo("\"cg\"", listing));
        m_appliance->generateConsistencyGroupList();
    }
    /// The lines of a group's load after its output.
    CLines groupTrace()
    {
        CLines trace = takeOwnTrace();
        size_t begin = 0;
        while (begin < trace.size() && trace[begin] != "L6 Printing the command output")
            ++begin;
        trace.erase(trace.begin(), trace.begin() + static_cast<std::ptrdiff_t>(std::min(begin + 1, trace.size())));
        std::erase_if(trace, [](const std::string& line) { return line.starts_with("L6 LMR line = ["); });
        return trace;
    }

    CApplianceTestPtr m_appliance;
};

TEST_F(CLmrInventory, InitializationReadsDisksHostsAndGroups)
{
    setScenario(answerTo("[listdisk]", "Disks\n" + std::string(122, '=') +
                                           "\n/dev/sdb (0:0:1:0) LUMORA (disk) 10GB (online) (ABC123)\n") +
                answerTo(" list  hosts ", "backup01 10.0.0.7\nbackup02\n") + answerTo(" show  host ", "Name\n") +
                answerTo(" list  cgroups ", "Groups\ncg1 luns=1\n") +
                answerTo("\"cg1\"", groupListing("  /dev/sdb [ABC123] 10GB\n")));
    CLMRAppliance::setCLMRApplianceToolSingletonPtr({});
    m_appliance->initialize();
    EXPECT_EQ((CLines{"backup01", "backup02"}), hosts());
    EXPECT_EQ((CLines{"cg1: /dev/sdb=ABC123"}), groups());
    EXPECT_STREQ("ABC123", m_appliance->findLun("/dev/sdb").c_str());
    expectFile("initialize.sent", takeSent());
    expectFile("initialize.trace", joined(takeTrace()));
}

TEST_F(CLmrInventory, InitializationStopsWhenTheDisksCannotBeListed)
{
    setScenario(answerTo("[listdisk]", "no driver\n", 5));
    EXPECT_THROW(m_appliance->initialize(), EFiExecPipe);
    EXPECT_EQ("=== kforutil [listdisk]\n", takeSent());
    EXPECT_FALSE(CLMRAppliance::getCLMRDeviceManagerSingletonPtr());
}

TEST_F(CLmrInventory, HostNameIsTheFirstPieceOfEachLine)
{
    setScenario(answerTo(" list  hosts ", "Host Address\n\tb\t1\n\n  \t \n-\r\na\n") + "exit 0\n");
    m_appliance->generateHostList();
    EXPECT_EQ((CLines{"Host", "b", "-", "a"}), hosts());
}

TEST_F(CLmrInventory, RepeatedHostStaysTwiceInTheList)
{
    setScenario(answerTo(" list  hosts ", "a\na\n") + "exit 0\n");
    m_appliance->generateHostList();
    EXPECT_EQ((CLines{"a", "a"}), hosts());
    EXPECT_FALSE(m_appliance->getHostList()[0] == m_appliance->getHostList()[1]);
}

TEST_F(CLmrInventory, FailedHostListLeavesNoHosts)
{
    setScenario(answerTo(" list  hosts ", "a\n") + "exit 0\n");
    m_appliance->generateHostList();
    takeTrace();
    setScenario(answerTo(" list  hosts ", "a\n", 1));
    m_appliance->generateHostList();
    EXPECT_EQ(CLines(), hosts());
    EXPECT_EQ("L1 Failed to execute command", takeOwnTrace().back());
}

TEST_F(CLmrInventory, FailedHostStopsTheWalkAndEarlierOnesStay)
{
    setScenario(answerTo(" list  hosts ", "a\nb\nc\n") + answerTo("\"b\"", "", 1) + "exit 0\n");
    m_appliance->generateHostList();
    EXPECT_EQ((CLines{"a"}), hosts());
    EXPECT_EQ(std::string::npos, takeSent().find("\"c\""));
    expectFile("host_walk_stops.trace", joined(takeOwnTrace()));
}

TEST_F(CLmrInventory, GroupNameIsTheTextBeforeItsLuns)
{
    setScenario(answerTo(" list  cgroups ", "cg1 luns=3\n \t cg 2 \tluns=1 luns=2\nName Luns\n\nluns=0\n"));
    m_appliance->generateConsistencyGroupNameList();
    const std::vector<CString> expected = {"cg1", "cg 2", ""};
    EXPECT_TRUE(expected == m_appliance->getConsistencyGroupNameList());
    expectFile("group_names.trace", joined(takeOwnTrace()));
}

TEST_F(CLmrInventory, FailedGroupListLeavesNoGroups)
{
    loadGroup(groupListing(""));
    EXPECT_EQ((CLines{"cg:"}), groups());
    takeTrace();
    setScenario("exit 1\n");
    m_appliance->generateConsistencyGroupList();
    EXPECT_EQ(CLines(), groups());
    EXPECT_FALSE(m_appliance->getConsistencyGroup("cg"));
    EXPECT_EQ("L1 Failed to execute command", takeOwnTrace().back());
}

TEST_F(CLmrInventory, FailedSecondGroupKeepsTheFirstAndNeverAsksForTheThird)
{
    setScenario(answerTo(" list  cgroups ", "a luns=1\nb luns=1\nc luns=1\n") +
                answerTo("\"a\"", groupListing("d [S] x\n")) + answerTo("\"b\"", "", 1) + "exit 0\n");
    m_appliance->generateConsistencyGroupList();
    EXPECT_EQ((CLines{"a: d=S"}), groups());
    EXPECT_EQ(std::string::npos, takeSent().find("\"c\""));
    expectFile("group_walk_stops.trace", joined(takeOwnTrace()));
}

TEST_F(CLmrInventory, MalformedGroupIsKeptAndStopsTheWalk)
{
    setScenario(answerTo(" list  cgroups ", "a luns=1\nb luns=1\n") +
                answerTo("\"a\"", groupListing("d1 [S1] x\nbroken\nd3 [S3] x\n")) + "exit 0\n");
    m_appliance->generateConsistencyGroupList();
    EXPECT_EQ((CLines{"a: d1=S1"}), groups());
    EXPECT_TRUE(m_appliance->getConsistencyGroup("a"));
    EXPECT_EQ(std::string::npos, takeSent().find("\"b\""));
    expectFile("group_malformed.trace", joined(takeOwnTrace()));
}

TEST_F(CLmrInventory, ProtectedLineGivesDeviceAndSerial)
{
    loadGroup(groupListing("/dev/sdb [ABC123] 10GB\n"));
    EXPECT_EQ((CLines{"cg: /dev/sdb=ABC123"}), groups());
    EXPECT_EQ((CLines{"L6 Found all the sections for consistency group strPosProtectedLUNS = [1], "
                      "strPosProtectedLUNS_END = [3]",
                      "L6 Found device name as [/dev/sdb]", "L6 Found device serial number as [ABC123]",
                      "L3 Found Device name as [/dev/sdb] with serial number [ABC123]."}),
              groupTrace());
}

TEST_F(CLmrInventory, MissingSectionsStopTheWalk)
{
    loadGroup("Monitor LUNS:\nPermissions:\nStillmark LUNs:\n");
    EXPECT_EQ((CLines{"L1 Invalid output could not find Protected LUNS section"}), groupTrace());
    loadGroup("Protected LUNS:\nMonitor LUNS:\nStillmark LUNs:\n");
    EXPECT_EQ((CLines{"L1 Invalid output could not find Permission section"}), groupTrace());
    loadGroup("Protected LUNS:\nMonitor LUNS:\nPermissions:\n");
    EXPECT_EQ((CLines{"L1 Invalid output could not find Stillmark LUNs section"}), groupTrace());
    EXPECT_EQ((CLines{"cg:"}), groups());
}

TEST_F(CLmrInventory, MissingMonitorSectionIsOnlyTold)
{
    loadGroup("Protected LUNS:\nd [S] x\nPermissions:\nStillmark LUNs:\n");
    EXPECT_EQ((CLines{"cg: d=S"}), groups());
    EXPECT_EQ("L3 Could not find monitor LUNs section", groupTrace().at(0));
}

TEST_F(CLmrInventory, MonitorSectionBeforeTheProtectedOneLeavesNoLuns)
{
    loadGroup("x\nMonitor LUNS:\nProtected LUNS:\nd [S] x\nPermissions:\nStillmark LUNs:\n");
    EXPECT_EQ((CLines{"cg:"}), groups());
    EXPECT_EQ((CLines{"L6 Found all the sections for consistency group strPosProtectedLUNS = [2], "
                      "strPosProtectedLUNS_END = [1]"}),
              groupTrace());
}

TEST_F(CLmrInventory, MonitorSectionInTheFirstLineDoesNotEndTheProtectedOne)
{
    loadGroup("Monitor LUNS:\nProtected LUNS:\nd [S] x\nPermissions:\nStillmark LUNs:\n");
    EXPECT_EQ((CLines{"cg: d=S"}), groups());
}

TEST_F(CLmrInventory, MonitorSectionBehindThePermissionsDoesNotEndTheProtectedOne)
{
    loadGroup("Protected LUNS:\nd [S] x\nPermissions:\nMonitor LUNS:\nStillmark LUNs:\n");
    EXPECT_EQ((CLines{"cg: d=S"}), groups());
}

TEST_F(CLmrInventory, SerialWithoutFurtherTextStopsTheWalk)
{
    loadGroup(groupListing("/dev/sdb [ABC123]\n"));
    EXPECT_EQ((CLines{"cg:"}), groups());
    EXPECT_EQ((CLines{"L6 Found all the sections for consistency group strPosProtectedLUNS = [1], "
                      "strPosProtectedLUNS_END = [3]",
                      "L6 Found device name as [/dev/sdb]", "L1 Invalid output cound not get device serial info"}),
              groupTrace());
}

TEST_F(CLmrInventory, BlankLineAmongTheLunsStopsTheWalk)
{
    loadGroup(groupListing("d [S] x\n\n"));
    EXPECT_EQ((CLines{"cg: d=S"}), groups());
    EXPECT_EQ("L1 Invalid output cound not get device data in line []", groupTrace().back());
}

TEST_F(CLmrInventory, RepeatedGroupReplacesTheMapEntryAndStaysTwiceInTheList)
{
    setScenario(answerTo(" list  cgroups ", "a luns=1\na luns=1\n") + answerTo("\"a\"", groupListing("")));
    m_appliance->generateConsistencyGroupList();
    ASSERT_EQ((CLines{"a:", "a:"}), groups());
    EXPECT_TRUE(m_appliance->getConsistencyGroup("a") == m_appliance->getConsistencyGroupList()[1]);
    EXPECT_TRUE(m_appliance->getAssociatedConsistencyGroup("a") == m_appliance->getConsistencyGroupList()[0]);
}

TEST_F(CLmrInventory, GroupListIsBuiltAnewEachTime)
{
    loadGroup(groupListing("d [S] x\n"));
    const CConsistencyGroupPtr old = m_appliance->getConsistencyGroup("cg");
    loadGroup(groupListing("d [S] x\n"));
    ASSERT_EQ((CLines{"cg: d=S"}), groups());
    EXPECT_FALSE(old == m_appliance->getConsistencyGroup("cg"));
    old->addDevice("late", "LATE");  // a group that was dropped tells nobody
    EXPECT_FALSE(m_appliance->getAssociatedConsistencyGroup("LATE"));
}

}  // namespace
}  // namespace cdpfi
