#include <algorithm>
#include <csignal>

#include "host/tests/fictl_fixture.h"

namespace {

std::vector<std::string> stepsOf(const std::vector<std::string>& calls)
{
    std::vector<std::string> steps;
    for (const std::string& call : calls) {
        if (!call.starts_with("init_node")) steps.push_back(call);
    }
    return steps;
}

TEST_F(CFictlTest, CreateTakesASnapshotAndRecordsIt)
{
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1", "/dev/fake2", "/dev/fake4"});
    ASSERT_EQ(run.exit, 0) << run.err;
    const nlohmann::json snapshot = run.document()["snapshot"];
    EXPECT_EQ(snapshot["state"], "complete");
    const std::string checkpoint = snapshot["checkpoint"];
    EXPECT_EQ(objects(), (std::vector<std::string>{"ap1.g1." + checkpoint, "ap2.g3." + checkpoint}));
    EXPECT_EQ(snapshot["groups"].size(), 2U);
    ASSERT_EQ(snapshot["devices"].size(), 3U);
    const nlohmann::json device = snapshot["devices"][1];
    EXPECT_EQ(device["source"], "/dev/fake2");
    EXPECT_EQ(device["node"], "<fakefi>S2");
    EXPECT_EQ(device["serial"], "S2");
    EXPECT_EQ(device["appliance"], "ap1");
    EXPECT_EQ(device["group"], "g1");
    EXPECT_EQ(device["checkpoint"], checkpoint);
    EXPECT_EQ(device["made"], "yes");
    EXPECT_EQ(device["target"], "<fakefi><DeviceID>S2<DeviceID/><Annotation>" + checkpoint + "<Annotation/>");
    EXPECT_EQ(device["node_state"]["CheckPointName"], checkpoint);
    EXPECT_EQ(run.err, "");
    // A session for each of the two groups; none is made before all are prepared.
    EXPECT_EQ(stepsOf(calls()),
              (std::vector<std::string>{"init", "preselect", "select", "preselect", "select", "quiesce", "quiesce",
                                        "prepare", "prepare", "make", "make", "unquiesce", "unquiesce",
                                        "update_snapshot_handle", "update_snapshot_handle", "fini nodes=0"}));
    const SRun show = fictlJson({"snapshot", "show", "s"});
    EXPECT_EQ(show.document()["snapshot"]["devices"], snapshot["devices"]);
    expectClean();
}

TEST_F(CFictlTest, AnOptionThatEndsInAnEqualsSignHasNoTextAndLeavesTheNextWordAlone)
{
    const SRun made =
        fictlJson({"snapshot", "create", "--freeze=", "--thaw=", "--note=", "--label=a=", "s", device(1)});
    EXPECT_EQ(made.exit, 0) << made.err;
    EXPECT_EQ(made.document()["snapshot"]["frozen_seconds"], 0);
    EXPECT_EQ(made.document()["snapshot"]["note"], nullptr);
    EXPECT_EQ(made.document()["snapshot"]["labels"], (nlohmann::json{{"a", ""}}));
    EXPECT_EQ(fictl({"snapshot", "create", "--", "--note=", device(1)}).err,
              "fictl: \"--note=\" cannot be a snapshot's name\n"
              "  next: use 1 to 128 letters, digits or ._:+@-, not beginning with . or -\n");
}

TEST_F(CFictlTest, CreateSetsUpEachGroupOnceAndBeforeItsNodes)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake2"}).exit, 0);
    std::vector<std::string> nodes;
    for (const std::string& call : calls()) {
        if (call.starts_with("init_node")) nodes.push_back(call);
    }
    EXPECT_EQ(nodes, (std::vector<std::string>{"init_node g1", "init_node <fakefi>S1", "init_node <fakefi>S2"}));
}

TEST_F(CFictlTest, CreateRefusesADeviceThatIsNotClaimed)
{
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/other"});
    EXPECT_EQ(run.exit, 7);
    EXPECT_NE(run.err.find("device /dev/other: no appliance protects it; nothing was made"), std::string::npos);
    EXPECT_NE(run.err.find("next: fictl device list /dev/other"), std::string::npos);
    EXPECT_EQ(state("s"), "");
    for (const char* point : {"claim", "supports"}) {
        arm(std::string(point) + " fail\n");
        EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 7) << point;
    }
    EXPECT_TRUE(objects().empty());
    expectClean();
}

TEST_F(CFictlTest, CreateRefusesTwoPathsOfOneLun)
{
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap1 g1\n/dev/alias1 S1 ap1 g1\n");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/alias1"});
    EXPECT_EQ(run.exit, 2);
    EXPECT_NE(run.err.find("devices /dev/fake1 and /dev/alias1 show the same LUN S1"), std::string::npos);
    expectClean();
}

TEST_F(CFictlTest, CreateRefusesANameThatIsTaken)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake3"});
    EXPECT_EQ(run.exit, 4);
    EXPECT_NE(run.err.find("snapshot \"s\" is in the catalog already (complete)"), std::string::npos) << run.err;
    EXPECT_EQ(objects().size(), 1U);
}

TEST_F(CFictlTest, AStepThatFailsBeforeMakeLeavesNothing)
{
    for (const char* point : {"preselect", "select", "quiesce", "prepare"}) {
        arm(std::string(point) + " fail\n");
        const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
        EXPECT_EQ(run.exit, 8) << point;
        EXPECT_NE(run.err.find("nothing was made"), std::string::npos) << run.err;
        EXPECT_EQ(state("s"), "") << point;
    }
    EXPECT_TRUE(objects().empty());
    expectClean();
}

TEST_F(CFictlTest, WhenNoGroupIsMadeNothingIsLeftAndTheApplianceIsQuoted)
{
    arm("make:g1 fail=6 the store is full\nmake:g2 fail=7 the group is offline\n");
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"});
    EXPECT_EQ(run.exit, 8);
    const nlohmann::json error = run.document()["error"];
    EXPECT_EQ(error["code"], "failed");
    ASSERT_EQ(error["commands"].size(), 2U) << error;
    EXPECT_EQ(error["commands"][1]["output"], "the group is offline\n");
    EXPECT_EQ(error["commands"][0]["output"], "the store is full\n");
    EXPECT_EQ(error["commands"][0]["code"], 6);
    EXPECT_EQ(error["commands"][0]["entry_point"], "make");
    EXPECT_NE(withoutTimes(run.err).find("\n  answer (exit status 6, after N s): the store is full\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(state("s"), "");
    EXPECT_TRUE(objects().empty());
    expectClean();
}

TEST_F(CFictlTest, ARefusedNameWhoseRefusalIsLostIsNotTakenFromItsOwner)
{
    arm("make wait go\nmake:g1 fail connection lost\n");
    const pid_t pid = startHeld({"snapshot", "create", "s", "/dev/fake1"});
    release();
    waitForFile("go.reached");
    // Another host whose process has the same id makes its checkpoint after this one has looked.
    const std::string foreign = "ap1.g1.KSV_Check_Point_" + std::to_string(pid);
    touch("objects/" + foreign);
    touch("go");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 8) << run.err;
    EXPECT_EQ(objects(), std::vector<std::string>{foreign});
    EXPECT_EQ(state("s"), "failed");
}

TEST_F(CFictlTest, ACheckpointWhoseAnswerWasLostStaysWithItsRecord)
{
    arm("make:g1 lost connection lost\n");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_NE(run.err.find("next: fictl snapshot delete s"), std::string::npos) << run.err;
    EXPECT_EQ(state("s"), "failed");
    EXPECT_EQ(objects().size(), 1U);
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CFictlTest, APartialSnapshotSaysExactlyWhatWasMade)
{
    arm("make:g2 fail the group is offline\n");
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1", "/dev/fake2", "/dev/fake3", "/dev/fake4"});
    EXPECT_EQ(run.exit, 9);
    EXPECT_NE(run.err.find("made: group \"g1\" of appliance \"ap1\", \"g3\" of appliance \"ap2\"; not made: group "
                           "\"g2\" of appliance \"ap1\""),
              std::string::npos)
        << run.err;
    const nlohmann::json document = run.document();
    EXPECT_EQ(document["error"]["code"], "partial");
    EXPECT_EQ(document["error"]["commands"][0]["output"], "the group is offline\n");
    EXPECT_EQ(document["snapshot"]["state"], "partial");
    const nlohmann::json devices = document["snapshot"]["devices"];
    EXPECT_EQ(devices[0]["made"], "yes");
    EXPECT_EQ(devices[1]["made"], "yes");
    EXPECT_EQ(devices[2]["made"], "no");
    EXPECT_EQ(devices[3]["made"], "yes") << "a group that fails keeps no other from being made";
    EXPECT_EQ(objects().size(), 2U);
    expectClean();
}

TEST_F(CFictlTest, WithoutAnInspectorARefusedCheckpointIsNotKnown)
{
    leaveInspectorAway();
    arm("make:g2 fail the group is offline\n");
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3", "/dev/fake4"});
    EXPECT_EQ(run.exit, 9);
    EXPECT_NE(run.err.find("fictl: warning: not checked whether the devices are ambiguous and checkpoint "),
              std::string::npos)
        << run.err;
    const nlohmann::json devices = run.document()["snapshot"]["devices"];
    // It was asked for and refused: only a deletion tells for certain that it is not there.
    EXPECT_EQ(devices[1]["made"], "unknown");
    EXPECT_EQ(devices[2]["made"], "yes");
}

TEST_F(CFictlTest, APartialSnapshotIsDeletedWithWhatTheApplianceMadeUnseen)
{
    arm("make:g2 lost connection lost\n");
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3", "/dev/fake4"}).exit, 9);
    EXPECT_EQ(objects().size(), 3U);
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 5);
    EXPECT_EQ(fictl({"snapshot", "export", "s"}).exit, 5);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(state("s"), "");
}

TEST_F(CFictlTest, WithoutAHandleTheTargetNamesAreStillRecorded)
{
    arm("update_snapshot_handle fail\n");
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1"});
    ASSERT_EQ(run.exit, 0) << run.err;
    const nlohmann::json snapshot = run.document()["snapshot"];
    EXPECT_EQ(snapshot["devices"][0]["target"], "<fakefi><DeviceID>S1<DeviceID/><Annotation>" +
                                                    snapshot["checkpoint"].get<std::string>() + "<Annotation/>");
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CFictlTest, FreezeAndThawStandTightlyAroundMake)
{
    const std::string log = fake("calls");
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1", "--freeze", "echo FREEZE >> " + log, "--thaw",
                                "echo THAW >> " + log});
    ASSERT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(stepsOf(calls()),
              (std::vector<std::string>{"init", "preselect", "select", "quiesce", "FREEZE", "prepare", "make", "THAW",
                                        "unquiesce", "update_snapshot_handle", "fini nodes=0"}));
    EXPECT_GT(run.document()["snapshot"]["frozen_seconds"].get<double>(), 0);
    EXPECT_TRUE(run.document()["snapshot"]["thaw_command"].is_null());
}

TEST_F(CFictlTest, HookOutputDoesNotMixWithTheDocument)
{
    const SRun run =
        fictlJson({"snapshot", "create", "s", "/dev/fake1", "--freeze", "echo freezing", "--thaw", "echo thawing"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.document()["snapshot"]["state"], "complete");
    EXPECT_EQ(run.err, "freezing\nthawing\n");
}

TEST_F(CFictlTest, ThawRunsOnceWhateverFails)
{
    const std::string log = fake("calls");
    const std::vector<std::pair<std::string, int>> failures = {
        {"prepare fail\n", 8}, {"make:g1 fail x\n", 8}, {"make fail\n", 8}};
    for (const auto& [fault, exit] : failures) {
        base_test::writeFile(log, "");
        arm(fault);
        EXPECT_EQ(
            fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "echo THAW >> " + log}).exit,
            exit);
        const std::vector<std::string> lines = calls();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "THAW"), 1) << fault;
        EXPECT_EQ(state("s"), "") << fault;
    }
}

TEST_F(CFictlTest, AFailedFreezeThawsAndMakesNothing)
{
    const std::string log = fake("calls");
    const SRun run =
        fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "exit 4", "--thaw", "echo THAW >> " + log});
    EXPECT_EQ(run.exit, 12);
    EXPECT_NE(run.err.find("freeze command \"exit 4\" failed: exit status 4"), std::string::npos) << run.err;
    EXPECT_EQ(stepsOf(calls()), (std::vector<std::string>{"init", "preselect", "select", "quiesce", "THAW", "unquiesce",
                                                          "fini nodes=0"}));
    EXPECT_EQ(state("s"), "");
    EXPECT_TRUE(objects().empty());
}

TEST_F(CFictlTest, AFailedThawIsLoudButTheSnapshotIsComplete)
{
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "exit 5"});
    EXPECT_EQ(run.exit, 12);
    EXPECT_NE(run.err.find("is complete, but the thaw command failed: \"exit 5\": exit status 5"), std::string::npos);
    EXPECT_EQ(run.document()["snapshot"]["state"], "complete");
    EXPECT_EQ(run.document()["snapshot"]["thaw_command"], "exit 5");
    const SRun removed = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(removed.exit, 0);
    EXPECT_NE(removed.err.find("the application may still be frozen; its thaw command was: exit 5"), std::string::npos);
}

TEST_F(CFictlTest, AFreezeThatHangsIsStoppedAndThawed)
{
    const std::string log = fake("calls");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1", "--hook-timeout", "1", "--freeze", "sleep 1000",
                            "--thaw", "echo THAW >> " + log});
    EXPECT_EQ(run.exit, 12);
    EXPECT_NE(run.err.find("no end within 1 s"), std::string::npos) << run.err;
    const std::vector<std::string> lines = calls();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "THAW"), 1);
}

TEST_F(CFictlTest, ASignalDuringFreezeThawsAndLeavesNothing)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const std::string log = fake("calls");
        std::remove(fake("frozen").c_str());
        const pid_t pid = startHeld({"snapshot", "create", "s", "/dev/fake1", "--freeze",
                                     "touch " + fake("frozen") + "; exec sleep 1000", "--thaw", "echo THAW >> " + log});
        release();
        waitForFile("frozen");
        kill(pid, signal);
        const SRun run = finish();
        EXPECT_EQ(run.exit, 15) << run.err;
        const std::vector<std::string> lines = calls();
        EXPECT_EQ(lines[lines.size() - 3], "THAW");
        EXPECT_EQ(state("s"), "");
        EXPECT_TRUE(objects().empty());
    }
    expectClean();
}

TEST_F(CFictlTest, ASignalDuringMakeLetsItFinishWhereNothingIsFrozen)
{
    arm("make wait go\n");
    const pid_t pid = startHeld({"snapshot", "create", "s", "/dev/fake1"});
    release();
    waitForFile("go.reached");
    kill(pid, SIGTERM);
    touch("go");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(state("s"), "complete");
}

TEST_F(CFictlTest, ACheckpointOfTheSameNameIsNeverTakenAway)
{
    // Another host whose process had the same id made it.
    const pid_t pid = startHeld({"snapshot", "create", "s", "/dev/fake1"});
    const std::string foreign = "ap1.g1.KSV_Check_Point_" + std::to_string(pid);
    touch("objects/" + foreign);
    release();
    const SRun run = finish();
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(objects().size(), 2U);
    const std::string mine = fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["checkpoint"];
    EXPECT_NE("ap1.g1." + mine, foreign);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_EQ(objects(), std::vector<std::string>{foreign});
}

TEST_F(CFictlTest, WithoutAnInspectorACheckpointOfTheSameNameIsNotTakenAwayEither)
{
    leaveInspectorAway();
    const pid_t pid = startHeld({"snapshot", "create", "s", "/dev/fake1"});
    const std::string foreign = "ap1.g1.KSV_Check_Point_" + std::to_string(pid);
    touch("objects/" + foreign);
    release();
    const SRun run = finish();
    EXPECT_EQ(run.exit, 8);
    EXPECT_NE(run.err.find("exists already"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("next: run the command again"), std::string::npos) << run.err;
    EXPECT_EQ(objects(), std::vector<std::string>{foreign});
    EXPECT_EQ(state("s"), "");
}

}  // namespace
