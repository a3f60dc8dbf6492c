#include "providers/cdp/lmr/lmr_appliance.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <random>

#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using CLines = std::vector<std::string>;

constexpr int QUIET = 2;  // below the level of the look-ups' lines

class Appliance : public CFakeToolTest
{
  protected:
    Appliance() : m_appliance(makeAppliance("alpha"))
    {
        setUpTool();
        setUpDevices();
    }

    /// Groups, each "name device=serial device=serial".
    void loadGroups(const std::vector<std::pair<std::string, CLines>>& groups)
    {
        CLines names;
        std::string shown;
        for (const auto& [name, serials] : groups) {
            names.push_back(name);
            std::vector<answers::SLun> luns;
            for (const std::string& serial : serials) {
                luns.push_back({"dev", serial});
            }
            shown += answerTo("\"" + name + "\"", answers::group(name, luns));
        }
        setScenario(answerTo(" list  cgroups ", answers::groups(names)) + shown);
        m_appliance->generateConsistencyGroupList();
        forget();
    }
    void loadDisks(const std::vector<answers::SLun>& disks)
    {
        setScenario(answerTo("[listdisk]", answers::disks(disks)));
        setUpDevices()->refresh(false);
        forget();
    }
    /// Imports a LUN that so many listings do not show.
    void importWhatShowsAfter(int listings)
    {
        setScenario(answerTo("[discover]", "") + "when [listdisk]\ntimes " + std::to_string(listings) +
                    "\noutput\nDisks\nx\ny\n.\nexit 0\n" +
                    answerTo("[listdisk]", answers::disks({{"/dev/sdb", "S1"}})));
        CString path;
        EXPECT_TRUE(m_appliance->importDevicePath("S1", path));
        EXPECT_STREQ("/dev/sdb", path.c_str());
    }
    /// The group's position in the list, -1 for none; the same with the lines of the walk and without them.
    int positionFor(const std::string& device)
    {
        observe(TRACE_DETAIL);
        const int walked = position(m_appliance->getAssociatedConsistencyGroup(device.c_str()));
        observe(QUIET);
        EXPECT_EQ(walked, position(m_appliance->getAssociatedConsistencyGroup(device.c_str()))) << device;
        observe(TRACE_DETAIL);
        return walked;
    }
    int position(const CConsistencyGroupPtr& group) const
    {
        const auto groups = m_appliance->getConsistencyGroupList();
        for (size_t i = 0; group && i < groups.size(); ++i) {
            if (groups[i] == group) return static_cast<int>(i);
        }
        return -1;
    }

    CLMRAppliancePtr m_appliance;
};

TEST_F(Appliance, DescribesItself)
{
    EXPECT_STREQ("Lumora", m_appliance->getApplianceType().c_str());
    EXPECT_STREQ("Lumora", m_appliance->getSplitName().c_str());
    EXPECT_STREQ("Lumora", m_appliance->getInterposeNodePrefix().c_str());
    EXPECT_STREQ("6.5", m_appliance->getVersion().c_str());
    EXPECT_STREQ("alpha", m_appliance->getName().c_str());
    EXPECT_STREQ("alpha", m_appliance->getApplianceName("any").c_str());
    EXPECT_STREQ("", CLMRAppliance().getName().c_str());
    const auto fims = m_appliance->getFims();
    ASSERT_EQ(1U, fims.size());
    EXPECT_STREQ("Lumora", fims[0].m_type.c_str());
    EXPECT_STREQ("Lumora", fims[0].m_splitName.c_str());
    EXPECT_STREQ("Lumora", fims[0].m_quiesceName.c_str());
    EXPECT_EQ(3, fims[0].m_access);
    const auto list = m_appliance->getFimList();
    ASSERT_EQ(1U, list.size());
    EXPECT_EQ("Lumora", list[0].m_name);
    EXPECT_EQ("6.5", list[0].m_version);
}

TEST_F(Appliance, StartsEmpty)
{
    EXPECT_TRUE(m_appliance->getVolumeList().empty());
    EXPECT_TRUE(m_appliance->getTimeImageList().empty());
    EXPECT_TRUE(m_appliance->getConsistencyGroupList().empty());
    EXPECT_TRUE(m_appliance->getHostList().empty());
    EXPECT_EQ(0, m_appliance->manageStorage());
    m_appliance->manageStorage() = 7;
    EXPECT_EQ(7, m_appliance->manageStorage());
}

TEST_F(Appliance, VerifyTellsWhetherTheShellIsThere)
{
    EXPECT_FALSE(m_appliance->verify());
    EXPECT_EQ((CLines{"L3 CLMRAppliance::verify - CFiConfigurationPathTool::verify returned value 2 for "
                      "/opt/QXPKlm/bin/lmsh"}),
              takeTrace());
    root().write("opt/QXPKlm/bin/lmsh", "#!/bin/sh\n");
    ::chmod((root() / "opt/QXPKlm/bin/lmsh").c_str(), 0755);
    EXPECT_TRUE(m_appliance->verify());
    EXPECT_EQ((CLines{"L3 CLMRAppliance::verify - CFiConfigurationPathTool::verify returned value 0 for "
                      "/opt/QXPKlm/bin/lmsh"}),
              takeTrace());
}

TEST_F(Appliance, ShellThatCannotBeRunIsNone)
{
    root().write("opt/QXPKlm/bin/lmsh", "#!/bin/sh\n");
    ::chmod((root() / "opt/QXPKlm/bin/lmsh").c_str(), 0644);
    EXPECT_FALSE(m_appliance->verify());
    EXPECT_EQ((CLines{"L3 CLMRAppliance::verify - CFiConfigurationPathTool::verify returned value " +
                      std::to_string(EACCES) + " for /opt/QXPKlm/bin/lmsh"}),
              takeTrace());
}

TEST_F(Appliance, LunOfAPathComesFromTheDeviceTable)
{
    loadDisks({{"/dev/sdb", "S1"}});
    EXPECT_STREQ("S1", m_appliance->findLun("/dev/sdb").c_str());
    expectCall();
}

TEST_F(Appliance, TextThatIsNoPathIsItsOwnLun)
{
    EXPECT_STREQ("S1", m_appliance->findLun("S1").c_str());
    EXPECT_STREQ("", m_appliance->findLun("").c_str());
    expectCall();
}

TEST_F(Appliance, LunOfAnUnknownPathIsEmptyAndThePathBecomesKnown)
{
    EXPECT_STREQ("", m_appliance->findLun("/dev/sdx").c_str());
    EXPECT_STREQ("", m_appliance->findLun("x/dev/y").c_str());  // "/dev/" may stand anywhere
    expectCall();
    loadDisks({{"/dev/sdx", "S1"}, {"x/dev/y", "S2"}});
    EXPECT_STREQ("S1", m_appliance->findLun("/dev/sdx").c_str());
    EXPECT_STREQ("S2", m_appliance->findLun("x/dev/y").c_str());
}

TEST_F(Appliance, LooksUpNothingBeforeItIsInitialized)
{
    CLMRAppliance::setCLMRDeviceManagerSingletonPtr({});
    EXPECT_STREQ("", m_appliance->findLun("/dev/sdb").c_str());
    EXPECT_EQ(-1, positionFor("/dev/sdb"));
    CString path = "old";
    EXPECT_FALSE(m_appliance->importDevicePath("S", path));
    EXPECT_STREQ("", path.c_str());
}

TEST_F(Appliance, GroupOfADeviceIsFoundAndTheWalkIsTraced)
{
    loadGroups({{"a", {"S1", "S2"}}, {"b", {"S3", "S4"}}, {"c", {"S3"}}});
    loadDisks({{"/dev/sdb", "S3"}});
    EXPECT_EQ(1, position(m_appliance->getAssociatedConsistencyGroup("/dev/sdb")));
    expectCall();
}

TEST_F(Appliance, GroupNameStandsForADevice)
{
    loadGroups({{"a", {"S1"}}, {"b", {"S2"}}});
    EXPECT_EQ(1, position(m_appliance->getAssociatedConsistencyGroup("b")));
    expectCall();
}

TEST_F(Appliance, DeviceOfNoGroupIsWalkedToTheEnd)
{
    loadGroups({{"a", {"S1"}}});
    EXPECT_FALSE(m_appliance->getAssociatedConsistencyGroup("/dev/none"));
    expectCall();
}

TEST_F(Appliance, GroupThatIsNamedLikeTheLunOfALaterOneIsTaken)
{
    loadGroups({{"S1", {"S0"}}, {"b", {"S1"}}});
    EXPECT_EQ(0, position(m_appliance->getAssociatedConsistencyGroup("S1")));
    expectCall();
}

TEST_F(Appliance, FirstGroupInListOrderWins)
{
    loadGroups({{"z", {"S1", "S1"}}, {"S2", {"S1"}}, {"a", {"S2", "z", "a"}}, {"S3", {"S3", "a"}}});
    EXPECT_EQ(0, positionFor("S1"));
    EXPECT_EQ(1, positionFor("S2"));  // a group named like the LUN of a later one
    EXPECT_EQ(0, positionFor("z"));   // and a LUN named like an earlier group
    EXPECT_EQ(2, positionFor("a"));
    EXPECT_EQ(3, positionFor("S3"));
    EXPECT_EQ(-1, positionFor("S"));
    EXPECT_EQ(-1, positionFor("S11"));
}

TEST_F(Appliance, EmptyIdIsOfNoGroup)
{
    loadGroups({{"", {"S1"}}, {"b", {" "}}});
    EXPECT_EQ(-1, positionFor("/dev/unknown"));
    EXPECT_EQ(-1, positionFor(""));
}

TEST_F(Appliance, DevicesAddedAndNamesChangedAfterTheLoadAreFound)
{
    loadGroups({{"a", {"S1"}}, {"b", {}}});
    const auto groups = m_appliance->getConsistencyGroupList();
    groups[1]->addDevice("d", "S9");
    EXPECT_EQ(1, positionFor("S9"));
    groups[0]->addDevice("d", "S9");
    EXPECT_EQ(0, positionFor("S9"));
    groups[0]->setName("n");
    EXPECT_EQ(0, positionFor("n"));
    EXPECT_EQ(-1, positionFor("a"));
    EXPECT_EQ(0, positionFor("S1"));
}

TEST_F(Appliance, GroupsOutliveTheirAppliance)
{
    loadGroups({{"a", {"S1"}}});
    const CConsistencyGroupPtr group = m_appliance->getConsistencyGroup("a");
    m_appliance.release();
    group->addDevice("d", "S2");
    group->setName("b");
    EXPECT_EQ(2U, group->getDeviceList().size());
}

TEST_F(Appliance, IndexAnswersWhatTheWalkAnswers)
{
    std::mt19937 random(20240501);
    const auto draw = [&](unsigned range) { return static_cast<unsigned>(random() % range); };
    const auto text = [&](unsigned range) { return "k" + std::to_string(draw(range)); };
    for (int round = 0; round < 12; ++round) {
        const unsigned range = 1 + draw(60);
        std::vector<std::pair<std::string, CLines>> groups;
        for (unsigned i = draw(8); i > 0; --i) {
            CLines serials;
            for (unsigned j = draw(12); j > 0; --j) {
                serials.push_back(draw(9) == 0 ? " " : text(range));
            }
            groups.emplace_back(text(range), serials);
        }
        // A name that stands twice is asked for once: the answer of its first listing serves both.
        loadGroups(groups);
        std::vector<answers::SLun> disks;
        for (unsigned i = 0; i < 10; ++i) {
            disks.push_back({"/dev/d" + std::to_string(draw(12)), text(range)});
        }
        loadDisks(disks);
        for (unsigned i = 0; i < range; ++i) {
            positionFor("k" + std::to_string(i));
        }
        for (unsigned i = 0; i < 12; ++i) {
            positionFor("/dev/d" + std::to_string(i));
        }
        for (unsigned i = 0; i < 4 && !groups.empty(); ++i) {
            const auto list = m_appliance->getConsistencyGroupList();
            const CConsistencyGroupPtr& group = list[random() % list.size()];
            if (draw(2) == 0) group->addDevice("d", text(range).c_str());
            if (draw(2) == 0) group->setName(text(range).c_str());
            for (unsigned j = 0; j < range; ++j) {
                positionFor("k" + std::to_string(j));
            }
        }
    }
}

TEST_F(Appliance, InterposesTheDeviceOfAGroup)
{
    loadGroups({{"a", {"S1"}}});
    EXPECT_TRUE(m_appliance->interpose("S1"));
    expectCall("claimed");
    EXPECT_FALSE(m_appliance->interpose("S2"));
    expectCall("unclaimed");
    observe(QUIET);
    EXPECT_TRUE(m_appliance->interpose("S1"));
    EXPECT_FALSE(m_appliance->interpose("S2"));
    EXPECT_TRUE(takeTrace().empty());
}

TEST_F(Appliance, ImportTakesTheFirstPathOfTheLun)
{
    loadDisks({{"/dev/sdc", "S1"}, {"/dev/sdb", "S1"}, {"/dev/sda", "S2"}});
    CString path = "old";
    EXPECT_TRUE(m_appliance->importDevicePath("S1", path));
    EXPECT_STREQ("/dev/sdb", path.c_str());
    expectCall();
}

TEST_F(Appliance, ImportOfAnUnknownLunRefreshesFourTimes)
{
    setScenario(answerTo("[discover]", "") + answerTo("[listdisk]", answers::disks({{"/dev/sdb", "S1"}})));
    CString path = "old";
    EXPECT_FALSE(m_appliance->importDevicePath("S9", path));
    EXPECT_STREQ("", path.c_str());
    expectCall();
}

TEST_F(Appliance, ImportOfAnEmptySerialNeverMatches)
{
    setScenario(answerTo("[discover]", "") + answerTo("[listdisk]", answers::disks({{"/dev/sdb", "S1"}})));
    m_appliance->findLun("/dev/nobody");
    CString path = "old";
    EXPECT_FALSE(m_appliance->importDevicePath("", path));
    EXPECT_STREQ("", path.c_str());
    expectCall();
}

TEST_F(Appliance, ImportFindsTheLunOnceItShows)
{
    importWhatShowsAfter(2);
    expectCall();
}

TEST_F(Appliance, ImportFindsTheLunInTheLastPass)
{
    importWhatShowsAfter(3);
    expectCall();
}

TEST_F(Appliance, ImportPassesTheFailureOfAListingOn)
{
    loadDisks({{"/dev/sdb", "S2"}});
    setScenario(answerTo("[discover]", "") + answerTo("[listdisk]", "gone\n", 6));
    CString path;
    EXPECT_THROW(m_appliance->importDevicePath("S1", path), EFiExecPipe);
    expectCall();
    EXPECT_TRUE(setUpDevices()->firstPathOf("S2", path));
}

}  // namespace
}  // namespace cdpfi
