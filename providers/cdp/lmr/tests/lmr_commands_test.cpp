#include "providers/cdp/lmr/lmr_commands.h"

#include <functional>

#include "providers/cdp/lmr/lmr_command_sending.h"
#include "providers/cdp/lmr/lmr_host.h"
#include "providers/cdp/lmr/lmr_timeimage.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"
#include "providers/cdp/tests/support/expected_file.h"

namespace cdpfi {
namespace {

struct SCommandCase
{
    const char* name;
    std::function<SLMRCommand(const CString&)> build;  ///< with the name in every place
};

const std::vector<SCommandCase>& commandCases()
{
    using namespace lmr_commands;
    using N = const CString&;
    static const std::vector<SCommandCase> cases = {
        {"show_host", [](N n) { return showHost(n); }},
        {"show_group", [](N n) { return showGroup(n); }},
        {"create_checkpoint", [](N n) { return createCheckPoint(n, "G"); }},
        {"create_checkpoint_group", [](N n) { return createCheckPoint("CP", n); }},
        {"delete_checkpoint", [](N n) { return deleteCheckPoint(n, "G"); }},
        {"delete_checkpoint_group", [](N n) { return deleteCheckPoint("CP", n); }},
        {"create_timeimage", [](N n) { return createTimeImage(n, "G", "CP", "H"); }},
        {"create_timeimage_group", [](N n) { return createTimeImage("TI", n, "CP", "H"); }},
        {"create_timeimage_checkpoint", [](N n) { return createTimeImage("TI", "G", n, "H"); }},
        {"create_timeimage_host", [](N n) { return createTimeImage("TI", "G", "CP", n); }},
        {"delete_timeimage", [](N n) { return deleteTimeImage(n, "G"); }},
        {"delete_timeimage_group", [](N n) { return deleteTimeImage("TI", n); }},
        {"list_timeimages", [](N n) { return listTimeImages(n); }},
        {"show_timeimage", [](N n) { return showTimeImage(n, "G"); }},
        {"show_timeimage_group", [](N n) { return showTimeImage("TI", n); }},
        {"permit_group", [](N n) { return permitGroup(n, "H"); }},
        {"permit_group_host", [](N n) { return permitGroup("G", n); }},
        {"forbid_group", [](N n) { return forbidGroup(n, "H"); }},
        {"forbid_group_host", [](N n) { return forbidGroup("G", n); }},
        {"permit_timeimage", [](N n) { return permitTimeImage(n, "G", "H"); }},
        {"permit_timeimage_group", [](N n) { return permitTimeImage("TI", n, "H"); }},
        {"permit_timeimage_host", [](N n) { return permitTimeImage("TI", "G", n); }},
    };
    return cases;
}

class Commands : public CFakeToolTest
{
  protected:
    Commands()
    {
        setUpTool();
        setScenario("exit 0\n");
    }

    /// What reaches the shell for a command to appliance "alpha", the runner's part included.
    std::string sentFor(const SLMRCommand& command)
    {
        std::vector<std::string> lines;
        EXPECT_EQ(0, sendCommand(*setUpTool(), "alpha", command, lines));
        return takeSent();
    }
    /// Compares it with the file of the running test and that name.
    void expectSent(const std::string& name, const SLMRCommand& command)
    {
        expectFile(EXPECTED_FOLDER, "." + name + ".sent", sentFor(command));
    }
};

TEST_F(Commands, ScriptOfEachCommandIsTheExpectedBytes)
{
    using namespace lmr_commands;
    expectSent("list_hosts", listHosts());
    expectSent("show_host", showHost("backup01"));
    expectSent("list_groups", listGroups());
    expectSent("show_group", showGroup("cg1"));
    expectSent("create_checkpoint", createCheckPoint("cp1", "cg1"));
    expectSent("delete_checkpoint", deleteCheckPoint("cp1", "cg1"));
    expectSent("create_timeimage", createTimeImage("ti1", "cg1", "cp1", "backup01"));
    expectSent("delete_timeimage", deleteTimeImage("ti1", "cg1"));
    expectSent("list_timeimages", listTimeImages("cg1"));
    expectSent("show_timeimage", showTimeImage("ti1", "cg1"));
    expectSent("permit_group", permitGroup("cg1", "backup01"));
    expectSent("forbid_group", forbidGroup("cg1", "backup01"));
    expectSent("permit_timeimage", permitTimeImage("ti1", "cg1", "backup01"));
}

TEST_F(Commands, CommandLinesOfTheDiskUtilityQuoteTheProgram)
{
    EXPECT_EQ("\"/usr/sbin/kforutil\" discover ", lmr_utility::discover("/usr/sbin/kforutil"));
    EXPECT_EQ("\"/usr/sbin/kforutil\" listdisk ", lmr_utility::listDisks("/usr/sbin/kforutil"));
}

TEST_F(Commands, QuoteNewlineAndControlCharactersAreRefusedInEveryPlace)
{
    for (int byte = 0; byte < 0x100; ++byte) {
        const char hostile[] = {'a', static_cast<char>(byte), 'b'};
        const CString name(hostile, sizeof hostile);
        const bool refused = byte < 0x20 || byte == 0x7f || byte == '"';
        EXPECT_EQ(!refused, isSendableName(name)) << byte;
        for (const SCommandCase& command : commandCases()) {
            const SLMRCommand built = command.build(name);
            EXPECT_EQ(refused, built.m_refused) << command.name << " " << byte;
            EXPECT_EQ(refused ? std::string(bytesOf(name)) : "", built.m_refusedName) << command.name << " " << byte;
        }
    }
}

TEST_F(Commands, EmptyNamePassesTheCheck)
{
    EXPECT_TRUE(isSendableName(""));
    for (const SCommandCase& command : commandCases()) {
        EXPECT_FALSE(command.build("").m_refused) << command.name;
    }
}

TEST_F(Commands, RefusedCommandIsTracedAndNothingIsSent)
{
    for (const SCommandCase& command : commandCases()) {
        std::vector<std::string> lines = {"old"};
        EXPECT_EQ(-1, sendCommand(*makeGroup("g"), "alpha", command.build("x\"\nexit"), lines)) << command.name;
        EXPECT_TRUE(lines.empty());
        EXPECT_EQ(std::vector<std::string>{"L2 Name [x\"\nexit] holds a double quote or a control character, command "
                                           "is not sent"},
                  takeTrace());
    }
    EXPECT_EQ("", takeSent());
    EXPECT_EQ(0U, countScripts());
}

TEST_F(Commands, CommandBeforeAnyApplianceIsInitializedIsNotSent)
{
    CLMRAppliance::setCLMRApplianceToolSingletonPtr({});
    std::vector<std::string> lines = {"old"};
    EXPECT_EQ(-1, sendCommand(*makeGroup("g"), "alpha", lmr_commands::listHosts(), lines));
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(std::vector<std::string>{"L1 No appliance is initialized, command is not sent"}, takeTrace());
}

TEST_F(Commands, OperationsOfAGroupRefuseHostileNames)
{
    const CGroupPtr group = makeGroup("g");
    const CHostPtr host(new CLMRHost("h\n"));
    EXPECT_EQ(-1, group->createCheckPoint("cp\""));
    EXPECT_EQ(0, group->deleteCheckPoint("cp\n"));
    EXPECT_FALSE(group->createTimeImage("ti", "cp", host));
    EXPECT_EQ(0, group->deleteTimeImage("ti\t"));
    EXPECT_FALSE(group->createTimeImageObject("ti\x7f"));
    group->mapHost(host);
    group->unmapHost(host);
    expectCall();
}

TEST_F(Commands, TimeImageRefusesAHostileHostAndDoesNotRecordIt)
{
    const CTimeImagePtr image(new CLMRTimeImage("ti"));
    image->registerTraceLog(log());
    image->setApplianceName("alpha");
    image->setConsistencyGroup(makeGroup("g"));
    const CHostPtr host(new CLMRHost("h\""));
    image->mapHost(host);
    image->mapHost(host);
    expectCall();
}

TEST_F(Commands, HostNamedInAListingWithAQuoteIsNeverAskedFor)
{
    setScenario(answerTo(" list  hosts ", "a\"b 10.0.0.7\n") + "exit 0\n");
    const CLMRAppliancePtr appliance = makeAppliance("alpha");
    appliance->generateHostList();
    expectCall();
    EXPECT_TRUE(appliance->getHostList().empty());
}

TEST_F(Commands, TimeImageNamedInAListingWithAQuoteIsNeverShown)
{
    setScenario(answerTo(" list  timeimages ", "ti\"1 2024-05-01\n") + "exit 0\n");
    const CGroupPtr group = makeGroup("g");
    group->populateTimeImageInformation();
    expectCall();
    EXPECT_FALSE(group->getTimeImage("ti\"1"));
}

TEST_F(Commands, GroupWithAHostileNameSendsNothing)
{
    const CGroupPtr group = makeGroup("g\"\nexit");
    const CHostPtr host(new CLMRHost("h"));
    EXPECT_EQ(-1, group->createCheckPoint("cp"));
    EXPECT_EQ(0, group->deleteCheckPoint("cp"));
    EXPECT_FALSE(group->createTimeImage("ti", "cp", host));
    EXPECT_EQ(0, group->deleteTimeImage("ti"));
    EXPECT_FALSE(group->createTimeImageObject("ti"));
    group->populateTimeImageInformation();
    group->mapHost(host);
    group->unmapHost(host);
    expectCall();
}

TEST_F(Commands, ApplianceWithAHostileNameSendsNothing)
{
    const CLMRAppliancePtr appliance = makeAppliance("alpha\nexit");
    appliance->generateHostList();
    appliance->generateConsistencyGroupList();
    expectCall();
}

TEST_F(Commands, GroupNamedInAListingWithAQuoteIsNeverAskedFor)
{
    setScenario(answerTo(" list  cgroups ", "a\"\tb luns=1\n") + "exit 0\n");
    const CLMRAppliancePtr appliance = makeAppliance("alpha");
    appliance->generateConsistencyGroupList();
    expectCall();
    EXPECT_TRUE(appliance->getConsistencyGroupList().empty());
}

}  // namespace
}  // namespace cdpfi
