// Tools that answer as those of a recorded conversation did.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>

#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

class CReplayTest : public testing::Test
{
  protected:
    /// A run of the provider; each begins when the one before it has ended.
    json run(const std::string& command, const std::string& answer, const json& changes = json::object())
    {
        m_offset += 1;
        json run = {{"source", "provider"},     {"offset", m_offset}, {"seconds", 0.5}, {"arguments", {"/opt/lmsh"}},
                    {"input", script(command)}, {"answer", answer},   {"whole", true},  {"exit", 0},
                    {"signal", nullptr},        {"stopped", nullptr}};
        run.update(changes);
        return {{"run", run}};
    }

    SResult replay() const { return lmadm({"replay", conversation(), "--tools", tools()}); }

    void prepare(const std::vector<json>& runs) const
    {
        std::ofstream file(conversation());
        file << json{{"format", "fictl-conversation"}, {"version", 1}, {"checkpoint", "KSV_Check_Point_77"}} << "\n";
        for (const json& line : runs) {
            file << line << "\n";
        }
        file.close();
        const SResult done = replay();
        ASSERT_EQ(done.status, 0) << testing::PrintToString(done.err);
    }

    SResult ask(const std::string& command) const { return CProcess({tools() + "/lmsh"}, script(command)).wait(); }
    static SResult lmadm(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> command = lmadmCommand();
        command.insert(command.end(), arguments.begin(), arguments.end());
        return CProcess(command, "").wait();
    }
    void expectRefusal(const std::string& command, const std::string& text) const
    {
        const SResult refused = ask(command);
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.out, IsEmpty());
        EXPECT_THAT(refused.err, ElementsAre("lmadm: replay: " + text + "; see lmadm --help"));
    }

    std::string conversation() const { return m_folder / "talk.jsonl"; }
    std::string tools() const { return m_folder / "tools"; }

    const CTemporaryFolder m_folder;
    int m_offset = 0;
};

TEST_F(CReplayTest, AnswersAsTheToolDidWithItsExitStatus)
{
    prepare({run("show cgroup \"g\"", "Protected LUNS:\n"),
             run("delete annotation \"a\" \"g\"", "annotation \"a\" does not exist in group \"g\"\n", {{"exit", 3}})});
    const SResult shown = ask(" show   cgroup \"g\" ");
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.out, ElementsAre("Protected LUNS:"));
    const SResult refused = ask("delete annotation \"a\" \"g\"");
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.out, ElementsAre("annotation \"a\" does not exist in group \"g\""));
}

TEST_F(CReplayTest, AnswersTheDiskUtilityByItsWords)
{
    prepare({run("", "disk\n", {{"input", ""}, {"arguments", {"/opt/kforutil", "listdisk"}}})});
    EXPECT_THAT(CProcess({tools() + "/kforutil", "listdisk"}, "").wait().out, ElementsAre("disk"));
    EXPECT_EQ(CProcess({tools() + "/kforutil", "discover"}, "").wait().status, 1);
}

TEST_F(CReplayTest, TheSameCommandIsAnsweredInTheOrderOfThen)
{
    prepare({run("list cgroups", "one\n"), run("list cgroups", "two\n")});
    EXPECT_THAT(ask("list cgroups").out, ElementsAre("one"));
    EXPECT_THAT(ask("list cgroups").out, ElementsAre("two"));
    expectRefusal(
        "list cgroups",
        "asked 2 times then, and once more now: server alpha; list cgroups; the first that was asked then and "
        "not by now: nothing");
}

TEST_F(CReplayTest, WhatWasNotAskedThenIsRefusedWithTheDifference)
{
    prepare({run("list cgroups", ""), run("show cgroup \"g\"", "")});
    ask("list cgroups");
    expectRefusal("show cgroup \"two  blanks\"",
                  "not asked then: server alpha; show cgroup \"two  blanks\"; the first that was asked then and not by "
                  "now: server alpha; show cgroup \"g\"");
    EXPECT_THAT(linesOf(contentOf(tools() + "/asked")),
                ElementsAre("answered 0", "refused server alpha; show cgroup \"two  blanks\""));
}

TEST_F(CReplayTest, WhatFollowedAChangeIsNotAnsweredBeforeIt)
{
    prepare({run("show cgroup \"g\"", "before\n"), run("create annotation \"a\" \"g\"", "made\n"),
             run("show cgroup \"g\"", "after\n"), run("show cgroup \"other\"", "other\n")});
    EXPECT_THAT(ask("show cgroup \"other\"").out, ElementsAre("other")) << "the change is about another group";
    EXPECT_THAT(ask("show cgroup \"g\"").out, ElementsAre("before"));
    expectRefusal(
        "show cgroup \"g\"",
        "asked out of turn: server alpha; show cgroup \"g\"; then server alpha; create annotation \"a\" \"g\" "
        "came first");
    EXPECT_THAT(ask("create annotation \"a\" \"g\"").out, ElementsAre("made"));
    EXPECT_THAT(ask("show cgroup \"g\"").out, ElementsAre("after"));
}

TEST_F(CReplayTest, TheCheckpointIsCalledByTheNumberOfTheProcessThatAsksNow)
{
    prepare({run("create annotation \"KSV_Check_Point_77\" \"g\"", "annotation \"KSV_Check_Point_77\" created\n"),
             run("show cgroup \"g\"", "KSV_Check_Point_77\nKSV_Check_Point_778\nKSV_Check_Point_5\n")});
    EXPECT_THAT(ask("create annotation \"KSV_Check_Point_4711\" \"g\"").out,
                ElementsAre("annotation \"KSV_Check_Point_4711\" created"));
    EXPECT_THAT(ask("show cgroup \"g\"").out,
                ElementsAre("KSV_Check_Point_4711", "KSV_Check_Point_778", "KSV_Check_Point_5"));
}

TEST_F(CReplayTest, AnotherNumberIsNoOtherCommand)
{
    prepare({run("show timeimage \"KSV_Time_Image_5\" \"g\"", "")});
    EXPECT_EQ(ask("show timeimage \"KSV_Time_Image_6\" \"g\"").status, 1);
}

TEST_F(CReplayTest, DiesByTheSignalThatItDiedBy)
{
    prepare({run("list cgroups", "half\n", {{"exit", nullptr}, {"signal", SIGKILL}})});
    const SResult killed = ask("list cgroups");
    EXPECT_EQ(killed.status, 128 + SIGKILL);
    EXPECT_THAT(killed.out, ElementsAre("half"));
}

TEST_F(CReplayTest, GivesNoAnswerWhereThereWasNone)
{
    prepare({run("list cgroups", "", {{"exit", nullptr}, {"signal", SIGTERM}, {"stopped", "limit"}})});
    CProcess waiting({tools() + "/lmsh"}, script("list cgroups"));
    while (linesOf(contentOf(tools() + "/asked")).empty()) {
    }
    waiting.kill();
    EXPECT_EQ(waiting.wait().status, 128 + SIGKILL);
}

TEST_F(CReplayTest, WhatNobodyNeededThenComesLast)
{
    prepare({run("list cgroups", "unused\n", {{"stopped", "unused"}}), run("list cgroups", "used\n")});
    EXPECT_THAT(ask("list cgroups").out, ElementsAre("used"));
    EXPECT_THAT(ask("list cgroups").out, ElementsAre("unused"));
}

TEST_F(CReplayTest, UnderstandsTheCommandsOfAnInspector)
{
    prepare({run("", "listing\n", {{"source", "inspector"}, {"appliance", "alpha"}, {"command", "show cgroup \"g\""}}),
             run("", "disks\n", {{"source", "inspector"}, {"appliance", nullptr}, {"command", "kforutil listdisk"}})});
    EXPECT_THAT(ask("show cgroup \"g\"").out, ElementsAre("listing"));
    EXPECT_THAT(CProcess({tools() + "/kforutil", "listdisk"}, "").wait().out, ElementsAre("disks"));
}

TEST_F(CReplayTest, BytesThatAreNoTextComeBack)
{
    prepare({run("list cgroups", "", {{"answer", {{"hex", "ff41fe"}}}})});
    EXPECT_THAT(ask("list cgroups").out, ElementsAre("\xff"
                                                     "A\xfe"));
}

TEST_F(CReplayTest, AnAnswerThatIsNotWholeIsNotGiven)
{
    prepare({run("list cgroups", "a part", {{"whole", false}})});
    expectRefusal("list cgroups", "the conversation has only a part of the answer to server alpha; list cgroups");
}

TEST_F(CReplayTest, RefusesWhatIsNoConversation)
{
    writeFile(conversation(), "{\"format\": \"something\"}\n");
    EXPECT_THAT(replay().err, ElementsAre("lmadm: conversation \"" + conversation() +
                                          "\": line 1: not the head of a conversation of version 1; name the right "
                                          "folder with --store, or create a store: lmadm --store DIR appliance create "
                                          "NAME"));
    writeFile(conversation(), "");
    EXPECT_EQ(replay().status, 7);
    EXPECT_FALSE(std::filesystem::exists(tools()));
}

TEST_F(CReplayTest, LeavesAFolderThatIsThere)
{
    prepare({run("list cgroups", "")});
    const SResult again = replay();
    EXPECT_EQ(again.status, 4);
}

TEST_F(CReplayTest, OtherCommandsStillNeedAStore)
{
    const SResult refused = lmadm({"appliance", "list"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, ElementsAre("lmadm: --store is required; see lmadm --help"));
}

}  // namespace
}  // namespace lumora::test
