// Groups of one snapshot side by side: what overlaps, how many at once, and that each is judged by itself.
#include <algorithm>
#include <csignal>
#include <filesystem>

#include "host/tests/fictl_fixture.h"
#include "host/tests/processes.h"

namespace {

using nlohmann::json;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// A snapshot "s" of three groups: "g1" and "g2" of "ap1", "g3" of "ap2".
class CSeveralGroupsTest : public CFictlTest
{
  protected:
    const Names CREATE = {"snapshot", "create", "s", "/dev/fake1", "/dev/fake3", "/dev/fake4"};

    void create() const { ASSERT_EQ(fictl(CREATE).exit, 0); }
    Names createWith(const Names& more) const
    {
        Names arguments = CREATE;
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    /// The command at this point of each of these groups goes on once those of all of them are under way.
    void armToMeet(const std::string& point, const Names& groups = {"g1", "g2", "g3"}) const
    {
        std::string faults;
        for (const std::string& group : groups) {
            faults += point + ":" + group + " meets=" + std::to_string(groups.size()) + " " + point + "s\n";
        }
        arm(faults);
    }
    size_t callsOf(const std::string& name) const
    {
        const Names all = calls();
        return static_cast<size_t>(std::count(all.begin(), all.end(), name));
    }
    Names madeGroups() const
    {
        Names made;
        const json snapshot = fictlJson({"snapshot", "show", "s"}).document()["snapshot"];
        for (const json& group : snapshot["groups"]) {
            if (group["made"] == "yes") made.push_back(group["group"]);
        }
        return made;
    }
    /// fictl in a process to which the system gives no threads: each would get a stack larger than any memory.
    SRun withoutThreads(const std::string& arguments) const
    {
        const std::string stack = std::to_string(size_t{1} << 38U);  // KiB
        return runProgram("/bin/sh", {"-c", "ulimit -s " + stack + " && exec " FICTL_PROGRAM " --provider " +
                                                provider() + " --output json " + arguments});
    }
    static int threadsOf(pid_t pid)
    {
        std::error_code gone;
        return static_cast<int>(
            std::distance(fs::directory_iterator("/proc/" + std::to_string(pid) + "/task", gone), {}));
    }
};

TEST_F(CSeveralGroupsTest, AreMadeAtOnceAndEachTellsWhen)
{
    armToMeet("make");
    const SRun run = fictlJson(CREATE);
    ASSERT_EQ(run.exit, 0) << run.err;
    const json snapshot = run.document()["snapshot"];
    std::string from;
    std::string until;
    for (const json& group : snapshot["groups"]) {
        const std::string begin = group["made_from"];
        const std::string end = group["made_until"];
        EXPECT_EQ(begin.size(), std::string("2024-01-31T12:00:00.123456Z").size());
        EXPECT_LT(begin, end);
        // They were under way at one time.
        if (!from.empty()) {
            EXPECT_LT(begin, until);
            EXPECT_LT(from, end);
        }
        from = std::max(from, begin);
        until = until.empty() ? end : std::min(until, end);
    }
    EXPECT_GT(snapshot["groups_apart_seconds"].get<double>(), 0);
    EXPECT_LT(snapshot["groups_apart_seconds"].get<double>(), 60);
}

TEST_F(CSeveralGroupsTest, TellHowFarApartTheyAreAndASingleOneDoesNot)
{
    const SRun several = fictl(CREATE);
    ASSERT_EQ(several.exit, 0);
    EXPECT_NE(several.out.find("\nthe groups' checkpoints are at most 0."), std::string::npos) << several.out;
    const SRun single = fictlJson({"snapshot", "create", "t", "/dev/fake1"});
    EXPECT_TRUE(single.document()["snapshot"].at("groups_apart_seconds").is_null());
    EXPECT_TRUE(single.document()["snapshot"]["groups"][0]["made_from"].is_string());
    EXPECT_EQ(fictl({"snapshot", "create", "u", "/dev/fake1"}).out.find("apart"), std::string::npos);
}

TEST_F(CSeveralGroupsTest, AreImportedGivenBackAndDeletedAtOnce)
{
    create();
    armToMeet("image", {"g2", "g3"});
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 6U);
    armToMeet("delete-timeimage");
    EXPECT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 3U);
    armToMeet("delete-annotation");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
    expectClean();
}

TEST_F(CSeveralGroupsTest, NoMoreAreMadeAtOnceThanTheInspectorAllows)
{
    for (const int atOnce : {1, 2, 3}) {
        allowAtOnce(static_cast<unsigned>(atOnce));
        fs::remove(fake("calls"));
        fs::remove(fake("go"));
        arm("make:g1 wait go\nmake:g2 wait go\nmake:g3 wait go\n");
        const pid_t pid = startHeld(CREATE);
        release();
        processes::waitUntil([&] { return callsOf("make") == static_cast<size_t>(atOnce); });
        waitForFile("go.reached");
        // The heartbeat has one, too.
        EXPECT_EQ(threadsOf(pid), 1 + atOnce);
        EXPECT_EQ(callsOf("make"), static_cast<size_t>(atOnce));
        touch("go");
        EXPECT_EQ(finish().exit, 0) << atOnce;
        EXPECT_EQ(callsOf("make"), 3U);
        arm("");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    }
}

TEST_F(CSeveralGroupsTest, AreAllTriedWhicheverFails)
{
    const std::vector<std::pair<std::string, Names>> failures = {{"g1", {"g2", "g3"}}, {"g3", {"g1", "g2"}}};
    for (const unsigned atOnce : {1U, 8U}) {
        allowAtOnce(atOnce);
        for (const auto& [failed, made] : failures) {
            arm("make:" + failed + " fail the group is offline\n");
            const SRun run = fictlJson(CREATE);
            EXPECT_EQ(run.exit, 9) << failed;
            EXPECT_EQ(run.document()["error"]["commands"].size(), 1U);
            EXPECT_EQ(madeGroups(), made);
            arm("");
            EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
            EXPECT_TRUE(objects().empty());
        }
    }
}

TEST_F(CSeveralGroupsTest, WhenAllFailNothingIsLeftAndEachAnswerIsQuoted)
{
    arm("make:g1 fail one\nmake:g2 fail two\nmake:g3 fail three\n");
    const SRun run = fictlJson(CREATE);
    EXPECT_EQ(run.exit, 8);
    Names answers;
    const json error = run.document()["error"];
    for (const json& command : error["commands"]) {
        answers.push_back(command["output"]);
    }
    EXPECT_EQ(answers, (Names{"one\n", "two\n", "three\n"}));
    EXPECT_NE(run.message().find("nothing is left on the appliance and nothing was recorded"), std::string::npos);
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(state("s"), "");
}

TEST_F(CSeveralGroupsTest, ANameThatIsTakenInOneGroupIsNotTakenAwayAndTheOthersAreKnown)
{
    leaveInspectorAway();
    const pid_t pid = startHeld(CREATE);
    const std::string foreign = "ap1.g2.KSV_Check_Point_" + std::to_string(pid);
    touch("objects/" + foreign);
    release();
    EXPECT_EQ(finish().exit, 9);
    EXPECT_EQ(madeGroups(), (Names{"g1", "g3"}));
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_EQ(objects(), Names{foreign});
}

TEST_F(CSeveralGroupsTest, ASignalWhileFrozenEndsAllCommandsAndBeginsNoOther)
{
    allowAtOnce(2);
    arm("make:g1 wait never1\nmake:g2 wait never2\n");
    const std::string thaw = "echo $FICTL_STATUS >> " + fake("thawed");
    const pid_t pid = startHeld(createWith({"--freeze", "true", "--thaw", thaw}));
    release();
    waitForFile("never1.reached");
    waitForFile("never2.reached");
    kill(pid, SIGTERM);
    const SRun run = finish();
    EXPECT_EQ(run.exit, 15) << run.err;
    EXPECT_EQ(base_test::contentOf(fake("thawed")), "stopped\n");
    EXPECT_EQ(callsOf("make"), 2U) << "the third group's turn never came";
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(state("s"), "");
    expectClean();
}

TEST_F(CSeveralGroupsTest, WhenTheFreezeIsOverWhatWasMadeStaysPartial)
{
    allowAtOnce(2);
    arm("make:g2 wait never\n");
    const SRun run = fictlJson(createWith({"--freeze", "true", "--thaw", "true", "--max-freeze", "2"}));
    EXPECT_EQ(run.exit, 12) << run.err;
    EXPECT_NE(run.message().find("it was frozen as long as --max-freeze allows; made: group \"g1\" of appliance "
                                 "\"ap1\", \"g3\" of appliance \"ap2\"; not made: group \"g2\" of appliance \"ap1\""),
              std::string::npos)
        << run.message();
    EXPECT_EQ(state("s"), "partial");
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CSeveralGroupsTest, ASignalLetsAllBeMadeWhereNothingIsFrozen)
{
    allowAtOnce(1);
    arm("make:g1 wait go\n");
    const pid_t pid = startHeld(CREATE);
    release();
    waitForFile("go.reached");
    kill(pid, SIGTERM);
    touch("go");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(madeGroups(), (Names{"g1", "g2", "g3"}));
}

TEST_F(CSeveralGroupsTest, AKilledFictlTakesTheToolsOfAllThreadsWithIt)
{
    const std::string tool = m_root + "/tool";
    base_test::writeFile(tool, "#!/bin/sh\nscript=$(cat)\ncase \"$script\" in *create*) echo >" + fake("pid.") +
                                   "$$; exec sleep 1000;; esac\nprintf '%s\\n' \"$script\" | " FICTL_FAKE_TOOL "\n");
    fs::permissions(tool, fs::perms::owner_all);
    useTool(tool);
    const pid_t pid = startHeld(CREATE);
    release();
    std::vector<pid_t> tools;
    processes::waitUntil([&] {
        tools.clear();
        for (const fs::directory_entry& entry : fs::directory_iterator(fake(""))) {
            const std::string name = entry.path().filename();
            if (name.starts_with("pid.")) tools.push_back(std::stoi(name.substr(4)));
        }
        return tools.size() == 3;
    });
    kill(pid, SIGKILL);
    EXPECT_EQ(finish().exit, 1000 + SIGKILL);
    processes::waitUntil([&] { return std::none_of(tools.begin(), tools.end(), processes::isThere); });
    EXPECT_EQ(state("s"), "interrupted");
}

TEST_F(CSeveralGroupsTest, AreWorkedOnWhereTheSystemGivesNoThreads)
{
    const SRun created = withoutThreads("snapshot create s /dev/fake1 /dev/fake3 /dev/fake4");
    EXPECT_EQ(created.exit, 0) << created.out << created.err;
    EXPECT_EQ(objects().size(), 3U);
    EXPECT_EQ(withoutThreads("snapshot import s").exit, 0);
    EXPECT_EQ(objects().size(), 6U);
    EXPECT_EQ(withoutThreads("snapshot release s").exit, 0);
    EXPECT_EQ(withoutThreads("snapshot delete s").exit, 0);
    EXPECT_TRUE(objects().empty());
    // That there are none shows where one is needed.
    const SRun frozen = withoutThreads("snapshot create s /dev/fake1 --freeze true --thaw true");
    EXPECT_EQ(frozen.exit, 12);
    EXPECT_NE(frozen.message().find("fictl cannot watch over it: "), std::string::npos) << frozen.message();
    expectClean();
}

TEST_F(CSeveralGroupsTest, EachDeletionIsJudgedByItsOwnCommands)
{
    // Nothing but the runs tells what became of each.
    leaveInspectorAway();
    create();
    arm("delete-timeimage:g1 meets=3 met\ndelete-timeimage:g2 meets=3 met\ndelete-timeimage:g3 meets=3 met\n"
        "delete-annotation:g2 fail=5 annotation is in use\n");
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 10);
    EXPECT_EQ(run.message(),
              "snapshot \"s\": not deleted from group \"g2\" of appliance \"ap1\" (not confirmed); the record stays");
    ASSERT_EQ(run.document()["error"]["commands"].size(), 1U);
    EXPECT_EQ(run.document()["error"]["commands"][0]["output"], "annotation is in use\n");
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(madeGroups(), Names{"g2"});
    fs::remove_all(fake("met"));
    arm("delete-annotation:g2 lies\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0) << "what the appliance says is done is done";
}

TEST_F(CSeveralGroupsTest, ADeletionThatWasNeverSentIsNotConfirmedByThatOfAnotherGroup)
{
    leaveInspectorAway();
    create();
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap1 g1\n/dev/fake4 S4 ap2 g3\n");
    base_test::writeFile(fake("groups"), "ap1 g1\nap2 g3\n");
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 10);
    EXPECT_NE(run.message().find("not deleted from group \"g2\" of appliance \"ap1\" (status 6)"), std::string::npos)
        << run.message();
    EXPECT_EQ(madeGroups(), Names{"g2"});
}

TEST_F(CSeveralGroupsTest, OneLookSettlesAllDeletionsThatTheAnswersLeaveOpen)
{
    create();
    arm("delete-annotation:g1 lost noise\ndelete-annotation:g2 lost noise\ndelete-annotation:g3 lost noise\n");
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 0) << run.err;
    Names results;
    const json deleted = run.document()["deleted"];
    for (const json& group : deleted["groups"]) {
        results.push_back(group["group"].get<std::string>() + " " + group["result"].get<std::string>());
    }
    EXPECT_EQ(results, (Names{"g1 removed", "g2 removed", "g3 removed"}));
}

TEST_F(CSeveralGroupsTest, AStopKeepsTheOthersFromBeingDeletedAndTheRecordTellsTheTruth)
{
    create();
    allowAtOnce(1);
    arm("delete-annotation:g1 wait go\n");
    const pid_t pid = startHeld({"snapshot", "delete", "s"});
    release();
    waitForFile("go.reached");
    kill(pid, SIGTERM);
    touch("go");
    EXPECT_EQ(finish().exit, 15);
    EXPECT_EQ(madeGroups(), (Names{"g2", "g3"}));
    EXPECT_EQ(state("s"), "delete-failed");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CSeveralGroupsTest, AnImportThatFailsInOneGroupBringsTheOthers)
{
    create();
    arm("image:g2 fail busy\n");
    const SRun run = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(run.message(),
              "snapshot \"s\": device /dev/fake3: no time image of group \"g2\" of appliance \"ap1\" could be made for "
              "this host (status 6)");
    EXPECT_EQ(run.next(), "mend what the appliance reports, then fictl snapshot import s");
    const json devices = run.document()["snapshot"]["devices"];
    EXPECT_EQ(devices[0]["import_path"], fake("copies/S1"));
    EXPECT_TRUE(devices[1]["import_path"].is_null());
    EXPECT_EQ(devices[2]["import_path"], fake("copies/S4"));
    ASSERT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    arm("image:g2 fail busy\nimage:g3 fail busy\n");
    const SRun two = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(two.message(),
              "snapshot \"s\": device /dev/fake3: no time image of group \"g2\" of appliance \"ap1\" could be made for "
              "this host (status 6); failed, too: group \"g3\" of appliance \"ap2\"");
    EXPECT_EQ(two.document()["error"]["commands"].size(), 2U);
    arm("");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 6U);
}

TEST_F(CSeveralGroupsTest, WithoutTheFirstGroupAnImportTakesNoOther)
{
    create();
    arm("image:g1 fail busy\n");
    const SRun run = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(run.message(),
              "snapshot \"s\": device /dev/fake1: no time image of group \"g1\" of appliance \"ap1\" could be made for "
              "this host (status 6)");
    EXPECT_EQ(objects().size(), 3U) << "the checkpoints alone";
    arm("");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 6U);
}

TEST_F(CSeveralGroupsTest, WhereTheFirstCopyDoesNotShowTheOthersAreNotLookedFor)
{
    create();
    arm("find:S1 fail\n");
    const SRun run = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(run.message().find("failed, too"), std::string::npos) << run.message();
    EXPECT_EQ(objects().size(), 6U) << "every image was made";
    const Names all = calls();
    EXPECT_EQ(std::count_if(
                  all.begin(), all.end(),
                  [](const std::string& call) { return call.starts_with("init_altnode") && !call.ends_with("[]"); }),
              1);
    arm("");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 6U);
}

TEST_F(CSeveralGroupsTest, AStoppedImportIsGoneOnWith)
{
    create();
    allowAtOnce(1);
    arm("image:g1 wait go\n");
    const pid_t pid = startHeld({"snapshot", "import", "s"});
    release();
    waitForFile("go.reached");
    kill(pid, SIGINT);
    touch("go");
    EXPECT_EQ(finish().exit, 15);
    EXPECT_EQ(state("s"), "import-failed");
    EXPECT_EQ(objects().size(), 4U);
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 6U);
}

TEST_F(CSeveralGroupsTest, AReleaseThatFailsInSomeSaysWhich)
{
    create();
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    arm("delete-timeimage:g1 fail busy\ndelete-timeimage:g3 fail busy too\n");
    const SRun run = fictlJson({"snapshot", "release", "s"});
    EXPECT_EQ(run.exit, 10);
    const std::string message = run.message();
    EXPECT_TRUE(message.starts_with("snapshot \"s\": time image KSV_Time_Image_")) << message;
    EXPECT_NE(message.find(" of group \"g1\" of appliance \"ap1\" was not deleted: "), std::string::npos) << message;
    EXPECT_TRUE(message.ends_with("; failed, too: group \"g3\" of appliance \"ap2\"")) << message;
    EXPECT_EQ(message.find("g2"), std::string::npos) << message;
    EXPECT_EQ(objects().size(), 5U);
    arm("");
    EXPECT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 3U);
}

TEST_F(CSeveralGroupsTest, ALookThatNobodyWaitsForIsGivenUp)
{
    arm("inspect hangs\n");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/other"});
    EXPECT_EQ(run.exit, 7) << run.err;
}

}  // namespace
