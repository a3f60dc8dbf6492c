// How an appliance reads its hosts and groups.

#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using CLines = std::vector<std::string>;

class Inventory : public CFakeToolTest
{
  protected:
    Inventory() : m_appliance(makeAppliance("alpha")) { setUpTool(); }

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
        for (const CHostPtr& host : m_appliance->getHostList()) {
            names.emplace_back(host->getName().c_str());
        }
        return names;
    }
    /// Loads group "cg", which has that listing, and group "later" behind it.
    void loadGroup(const std::string& listing)
    {
        setScenario(answerTo(" list  cgroups ", answers::groups({"cg", "later"})) + answerTo("\"cg\"", listing) +
                    answerTo("\"later\"", answers::group("later", {})));
        m_appliance->generateConsistencyGroupList();
    }

    CLMRAppliancePtr m_appliance;
};

TEST_F(Inventory, InitializationReadsDisksHostsAndGroups)
{
    const answers::SLun lun{"/dev/sdb", "ABC123"};
    setScenario(answerTo("[listdisk]", answers::disks({lun})) +
                answerTo(" list  hosts ", answers::hosts({"backup01", "backup02"})) +
                answerTo(" show  host ", "Name\n") + answerTo(" list  cgroups ", answers::groups({"cg1"})) +
                answerTo("\"cg1\"", answers::group("cg1", {lun})));
    CLMRAppliance::setCLMRApplianceToolSingletonPtr({});
    m_appliance->initialize();
    expectCall();
    EXPECT_EQ((CLines{"backup01", "backup02"}), hosts());
    EXPECT_EQ((CLines{"cg1: /dev/sdb=ABC123"}), groups());
    EXPECT_STREQ("ABC123", m_appliance->findLun("/dev/sdb").c_str());
}

TEST_F(Inventory, InitializationStopsWhenTheDisksCannotBeListed)
{
    setScenario(answerTo("[listdisk]", "no driver\n", 5));
    EXPECT_THROW(m_appliance->initialize(), EFiExecPipe);
    expectCall();
    EXPECT_FALSE(CLMRAppliance::getCLMRDeviceManagerSingletonPtr());
}

TEST_F(Inventory, InitializationGoesOnToTheGroupsWhenTheHostsCannotBeListed)
{
    setScenario(answerTo("[listdisk]", "") + answerTo(" list  hosts ", "refused\n", 1) +
                answerTo(" list  cgroups ", answers::groups({"cg1"})) + answerTo("\"cg1\"", answers::group("cg1", {})));
    m_appliance->initialize();
    expectCall();
    EXPECT_EQ(CLines(), hosts());
    EXPECT_EQ((CLines{"cg1:"}), groups());
}

TEST_F(Inventory, HostNameIsTheFirstPieceOfEachLine)
{
    setScenario(answerTo(" list  hosts ", "Host Address\n\tb\t1\n\n  \t \n-\r\na\n") + "exit 0\n");
    m_appliance->generateHostList();
    expectCall();
    EXPECT_EQ((CLines{"Host", "b", "-", "a"}), hosts());
}

TEST_F(Inventory, RepeatedHostStaysTwiceInTheList)
{
    setScenario(answerTo(" list  hosts ", answers::hosts({"a", "a"})) + "exit 0\n");
    m_appliance->generateHostList();
    expectCall();
    EXPECT_EQ((CLines{"a", "a"}), hosts());
    EXPECT_FALSE(m_appliance->getHostList()[0] == m_appliance->getHostList()[1]);
}

TEST_F(Inventory, HostsTraceIntoTheLogOfTheirAppliance)
{
    setScenario(answerTo(" list  hosts ", answers::hosts({"a"})) + "exit 0\n");
    m_appliance->generateHostList();
    EXPECT_EQ(log(), m_appliance->getHostList().at(0)->traceLog());
}

TEST_F(Inventory, FailedHostListLeavesNoHosts)
{
    setScenario(answerTo(" list  hosts ", answers::hosts({"a"})) + "exit 0\n");
    m_appliance->generateHostList();
    forget();
    setScenario(answerTo(" list  hosts ", answers::hosts({"a"}), 1));
    m_appliance->generateHostList();
    expectCall();
    EXPECT_EQ(CLines(), hosts());
}

TEST_F(Inventory, FailedHostStopsTheWalkAndEarlierOnesStay)
{
    setScenario(answerTo(" list  hosts ", answers::hosts({"a", "b", "c"})) + answerTo("\"b\"", "", 1) + "exit 0\n");
    m_appliance->generateHostList();
    expectCall();
    EXPECT_EQ((CLines{"a"}), hosts());
}

TEST_F(Inventory, GroupLineWithoutLunsIsSkipped)
{
    setScenario(answerTo(" list  cgroups ", "Name Luns\n\ncg0 luns\ncg1 luns=3\n"));
    m_appliance->generateConsistencyGroupNameList();
    expectCall();
    EXPECT_TRUE(std::vector<CString>{"cg1"} == m_appliance->getConsistencyGroupNameList());
}

TEST_F(Inventory, GroupNameIsTheTextBeforeItsLunsWithAnyBlanksAroundIt)
{
    setScenario(answerTo(" list  cgroups ", "cg1 luns=3\n \t cg 2 \tluns=1 luns=2\ncg3luns=1\nluns=0\n"));
    m_appliance->generateConsistencyGroupNameList();
    expectCall();
    const std::vector<CString> expected = {"cg1", "cg 2", "cg3", ""};
    EXPECT_TRUE(expected == m_appliance->getConsistencyGroupNameList());
}

TEST_F(Inventory, FailedGroupListLeavesNoGroups)
{
    loadGroup(answers::group("cg", {}));
    EXPECT_EQ((CLines{"cg:", "later:"}), groups());
    forget();
    setScenario("exit 1\n");
    m_appliance->generateConsistencyGroupList();
    expectCall();
    EXPECT_EQ(CLines(), groups());
    EXPECT_FALSE(m_appliance->getConsistencyGroup("cg"));
}

TEST_F(Inventory, ListWithoutGroupsAsksForNone)
{
    setScenario(answerTo(" list  cgroups ", ""));
    m_appliance->generateConsistencyGroupList();
    expectCall();
    EXPECT_EQ(CLines(), groups());
}

TEST_F(Inventory, FailedSecondGroupKeepsTheFirstAndNeverAsksForTheThird)
{
    setScenario(answerTo(" list  cgroups ", answers::groups({"a", "b", "c"})) +
                answerTo("\"a\"", answers::group("a", {{"d", "S"}})) + answerTo("\"b\"", "", 1) + "exit 0\n");
    m_appliance->generateConsistencyGroupList();
    expectCall();
    EXPECT_EQ((CLines{"a: d=S"}), groups());
    EXPECT_FALSE(m_appliance->getConsistencyGroup("b"));
}

TEST_F(Inventory, GroupKnowsItsNameItsApplianceAndTheLog)
{
    loadGroup(answers::group("cg", {}));
    takeSent();
    const CConsistencyGroupPtr group = m_appliance->getConsistencyGroup("cg");
    EXPECT_EQ(log(), group->traceLog());
    setScenario("exit 0\n");
    group->createCheckPoint("cp1");
    EXPECT_EQ(
        "=== lmsh\nserver alpha\n create  annotation \"cp1\" \"cg\"\n set  message  CreatedByKestrav \n commit "
        "\nexit\n",
        takeSent());
}

TEST_F(Inventory, MalformedGroupIsKeptAndStopsTheWalk)
{
    loadGroup(answers::groupWith("cg", "d1 [S1] x\nbroken\nd3 [S3] x\n"));
    expectCall();
    EXPECT_EQ((CLines{"cg: d1=S1"}), groups());
    EXPECT_TRUE(m_appliance->getConsistencyGroup("cg"));
}

TEST_F(Inventory, ProtectedLineGivesDeviceAndSerial)
{
    loadGroup(answers::group("cg", {{"/dev/sdb", "ABC123"}}));
    expectCall();
    EXPECT_EQ((CLines{"cg: /dev/sdb=ABC123", "later:"}), groups());
}

TEST_F(Inventory, MissingProtectedSectionStopsTheWalk)
{
    loadGroup("Monitor LUNS:\nPermissions:\nStillmark LUNs:\n");
    expectCall();
    EXPECT_EQ((CLines{"cg:"}), groups());
}

TEST_F(Inventory, MissingPermissionsSectionStopsTheWalk)
{
    loadGroup("Protected LUNS:\nd [S] x\nMonitor LUNS:\nStillmark LUNs:\n");
    expectCall();
    EXPECT_EQ((CLines{"cg:"}), groups());
}

TEST_F(Inventory, MissingStillmarkSectionStopsTheWalk)
{
    loadGroup("Protected LUNS:\nd [S] x\nMonitor LUNS:\nPermissions:\n");
    expectCall();
    EXPECT_EQ((CLines{"cg:"}), groups());
}

TEST_F(Inventory, MissingMonitorSectionIsOnlyTold)
{
    loadGroup("Protected LUNS:\nd [S] x\nPermissions:\nStillmark LUNs:\n");
    expectCall();
    EXPECT_EQ((CLines{"cg: d=S", "later:"}), groups());
}

TEST_F(Inventory, MonitorSectionBeforeTheProtectedOneLeavesNoLuns)
{
    loadGroup("x\nMonitor LUNS:\nProtected LUNS:\nd [S] x\nPermissions:\nStillmark LUNs:\n");
    expectCall();
    EXPECT_EQ((CLines{"cg:", "later:"}), groups());
}

TEST_F(Inventory, MonitorSectionInTheFirstLineDoesNotEndTheProtectedOne)
{
    loadGroup("Monitor LUNS:\nProtected LUNS:\nd [S] x\nPermissions:\nStillmark LUNs:\n");
    expectCall();
    EXPECT_EQ((CLines{"cg: d=S", "later:"}), groups());
}

TEST_F(Inventory, MonitorSectionBehindThePermissionsDoesNotEndTheProtectedOne)
{
    loadGroup("Protected LUNS:\nd [S] x\nPermissions:\nMonitor LUNS:\nStillmark LUNs:\n");
    expectCall();
    EXPECT_EQ((CLines{"cg: d=S", "later:"}), groups());
}

TEST_F(Inventory, ContentsOfTheMonitorAndStillmarkSectionsAreNotRead)
{
    loadGroup("Protected LUNS:\nd [S] x\nMonitor LUNS:\nm [M] x\nPermissions:\nbackup01\nStillmark LUNs:\ns [Q] x\n");
    EXPECT_EQ((CLines{"cg: d=S", "later:"}), groups());
}

TEST_F(Inventory, SerialWithoutFurtherTextStopsTheWalk)
{
    loadGroup(answers::groupWith("cg", "/dev/sdb [ABC123]\n"));
    expectCall();
    EXPECT_EQ((CLines{"cg:"}), groups());
}

TEST_F(Inventory, BlankLineAmongTheLunsStopsTheWalk)
{
    loadGroup(answers::groupWith("cg", "d [S] x\n\n"));
    expectCall();
    EXPECT_EQ((CLines{"cg: d=S"}), groups());
}

TEST_F(Inventory, RepeatedGroupReplacesTheMapEntryAndStaysTwiceInTheList)
{
    setScenario(answerTo(" list  cgroups ", answers::groups({"a", "a"})) + answerTo("\"a\"", answers::group("a", {})));
    m_appliance->generateConsistencyGroupList();
    expectCall();
    ASSERT_EQ((CLines{"a:", "a:"}), groups());
    EXPECT_TRUE(m_appliance->getConsistencyGroup("a") == m_appliance->getConsistencyGroupList()[1]);
    EXPECT_TRUE(m_appliance->getAssociatedConsistencyGroup("a") == m_appliance->getConsistencyGroupList()[0]);
}

TEST_F(Inventory, GroupsThatWereReadBeforeAnExceptionAreFound)
{
    constexpr size_t LARGE = size_t{1} << 20;  // nothing but the answer for the second group is as large
    setScenario(answerTo(" list  cgroups ", answers::groups({"cg", "later"})) +
                answerTo("\"cg\"", answers::group("cg", {{"d", "S"}})) +
                answerWithBytes("\"later\"", std::string(2 * LARGE, 'x')));
    {
        const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, 0, LARGE);
        EXPECT_THROW(m_appliance->generateConsistencyGroupList(), std::bad_alloc);
        EXPECT_TRUE(fault.happened());
    }
    ASSERT_EQ((CLines{"cg: d=S"}), groups());
    m_appliance->registerTraceLog({});  // with its traces, a look-up walks over the groups and asks no index
    EXPECT_TRUE(m_appliance->getAssociatedConsistencyGroup("S") == m_appliance->getConsistencyGroupList()[0]);
}

TEST_F(Inventory, GroupListIsBuiltAnewEachTime)
{
    loadGroup(answers::group("cg", {{"d", "S"}}));
    const CConsistencyGroupPtr old = m_appliance->getConsistencyGroup("cg");
    loadGroup(answers::group("cg", {{"d", "S"}}));
    ASSERT_EQ((CLines{"cg: d=S", "later:"}), groups());
    EXPECT_FALSE(old == m_appliance->getConsistencyGroup("cg"));
    old->addDevice("late", "LATE");  // a group that was dropped tells nobody
    EXPECT_FALSE(m_appliance->getAssociatedConsistencyGroup("LATE"));
}

}  // namespace
}  // namespace cdpfi
