#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "host/tests/fictl_fixture.h"
#include "host/tests/processes.h"

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;

using processes::waitUntil;

constexpr int KILLED = 1000 + SIGKILL;

/// Creations whose make is held by the test provider while the application is frozen. The two commands write a line
/// each into the file "hooks".
class CFreezeTest : public CFictlTest
{
  protected:
    void SetUp() override
    {
        CFictlTest::SetUp();
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
    }

    std::string note(const std::string& what) const { return "echo " + what + " >> " + fake("hooks"); }
    std::string noteThaw() const { return note("thaw $FICTL_STATUS"); }

    /// Starts a creation and returns once its application is frozen and its make has done all but return.
    pid_t startFrozen(const std::string& maxFreeze = "60", const std::string& thaw = {})
    {
        for (const char* file : {"hooks", "go", "go.reached"}) {
            fs::remove(fake(file));
        }
        arm("made wait go\n");
        const pid_t pid =
            startHeld({"--output", "json", "snapshot", "create", "s", "/dev/fake1", "/dev/fake3", "--freeze",
                       note("freeze"), "--thaw", thaw.empty() ? noteThaw() : thaw, "--max-freeze", maxFreeze});
        release();
        waitForFile("go.reached");
        return pid;
    }

    Lines hooks() const
    {
        std::istringstream text(base_test::contentOf(fake("hooks")));
        Lines lines;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// The test's own time limit ends a wait for something that never comes.
    void waitForThaw() const
    {
        waitUntil([this] { return hooks().size() > 1; });
    }

    /// What runs for this test: its processes carry its root directory in their environment.
    std::vector<pid_t> processes() const
    {
        const std::string mark = "OBZX_ROOT=" + m_root;
        std::vector<pid_t> found;
        std::error_code gone;
        for (const fs::directory_entry& entry : fs::directory_iterator("/proc", gone)) {
            const std::string name = entry.path().filename();
            if (name.find_first_not_of("0123456789") != std::string::npos) continue;
            const std::string environment = base_test::contentOf(entry.path() / "environ");
            if (environment.find(mark + '\0') != std::string::npos) found.push_back(std::stoi(name));
        }
        return found;
    }

    pid_t guardian() const
    {
        pid_t found = 0;
        waitUntil([this, &found] {
            for (const pid_t pid : processes()) {
                if (processes::nameOf(pid) == "fictl-guardian") found = pid;
            }
            return found > 0;
        });
        return found;
    }

    void expectNothingRuns() const
    {
        waitUntil([this] { return processes().empty(); });
    }

    /// Standard error of the creation, to which a guardian writes when fictl is gone.
    std::string standardError() const { return base_test::contentOf(m_root + "/tmp/run0.err"); }
};

TEST_F(CFreezeTest, ASignalThatStopsFictlThawsAtOnceAndCallsNothingComplete)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const pid_t pid = startFrozen();
        const Clock::time_point sent = Clock::now();
        kill(pid, signal);
        waitForThaw();
        // A second, and what a machine needs that is busy with other tests.
        EXPECT_LT(Clock::now() - sent, std::chrono::seconds(4)) << signal;
        touch("go");
        const SRun run = finish();
        EXPECT_EQ(run.exit, 15) << run.err;
        EXPECT_EQ(hooks(), (Lines{"freeze", "thaw stopped"})) << signal;
        // For all that is known its checkpoints were made too late.
        EXPECT_EQ(state("s"), "partial");
        EXPECT_NE(run.err.find("stopped by a signal: the application was thawed after "), std::string::npos) << run.err;
        EXPECT_GT(run.document()["error"]["frozen_seconds"].get<double>(), 0);
        arm("");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
        EXPECT_TRUE(objects().empty());
        expectNothingRuns();
    }
}

TEST_F(CFreezeTest, ASignalThatEndsFictlLeavesTheThawToItsGuardian)
{
    const std::set<int> others = {SIGINT,  SIGTERM, SIGHUP, SIGSTOP, SIGTSTP,  SIGTTIN, SIGTTOU,
                                  SIGPIPE, SIGCHLD, SIGURG, SIGCONT, SIGWINCH, SIGXFSZ};
    std::vector<int> signals;
    for (int signal = 1; signal < 32; ++signal) {
        if (!others.contains(signal)) signals.push_back(signal);
    }
    signals.insert(signals.end(), {SIGRTMIN, SIGRTMAX});
    ASSERT_EQ(signals.size(), 20U);
    for (const int signal : signals) {
        const pid_t pid = startFrozen();
        const Clock::time_point sent = Clock::now();
        kill(pid, signal);
        waitForThaw();
        EXPECT_LT(Clock::now() - sent, std::chrono::seconds(4)) << signal;
        // A sanitizer makes an exit status of some.
        EXPECT_NE(finish().exit, 0) << signal;
        expectNothingRuns();
        EXPECT_EQ(hooks(), (Lines{"freeze", "thaw killed"})) << signal;
        EXPECT_EQ(state("s"), "interrupted") << signal;
        arm("");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    }
}

TEST_F(CFreezeTest, ASignalThatHoldsFictlLeavesTheThawToItsGuardianWhenItsTimeIsOver)
{
    for (const int signal : {SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU}) {
        const pid_t pid = startFrozen("1");
        kill(pid, signal);
        waitForThaw();
        EXPECT_EQ(hooks(), (Lines{"freeze", "thaw timed-out"})) << signal;
        touch("go");
        kill(pid, SIGCONT);
        const SRun run = finish();
        EXPECT_EQ(run.exit, 12) << run.err;
        EXPECT_EQ(hooks().size(), 2U);
        EXPECT_EQ(state("s"), "partial");
        arm("");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
        expectNothingRuns();
    }
}

TEST_F(CFreezeTest, AHeldFictlThatIsKilledAfterItsTimeIsThawedOnce)
{
    const pid_t pid = startFrozen("1");
    kill(pid, SIGSTOP);
    waitForThaw();
    kill(pid, SIGKILL);
    EXPECT_EQ(finish().exit, KILLED);
    expectNothingRuns();
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw timed-out"}));
}

TEST_F(CFreezeTest, ASignalWithoutEffectChangesNothing)
{
    for (const int signal : {SIGPIPE, SIGCHLD, SIGURG, SIGCONT, SIGWINCH}) {
        const pid_t pid = startFrozen();
        kill(pid, signal);
        EXPECT_EQ(hooks(), Lines{"freeze"});
        touch("go");
        const SRun run = finish();
        EXPECT_EQ(run.exit, 0) << run.err;
        EXPECT_EQ(hooks(), (Lines{"freeze", "thaw made"})) << signal;
        expectNothingRuns();
        arm("");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    }
}

TEST_F(CFreezeTest, AnApplicationIsNotFrozenLongerThanItMayBe)
{
    startFrozen("1");
    waitForThaw();
    touch("go");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 12) << run.err;
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw timed-out"}));
    const nlohmann::json document = run.document();
    const double seconds = document["error"]["frozen_seconds"];
    EXPECT_GE(seconds, 1);
    char shown[32];
    std::snprintf(shown, sizeof shown, "%.1f s", seconds);
    EXPECT_EQ(
        document["error"]["message"],
        std::string("snapshot \"s\" is partial (status 0): the application was thawed after ") + shown +
            ", before its checkpoints were made: it was frozen as long as --max-freeze allows; made: group \"g1\" "
            "of appliance \"ap1\", \"g2\" of appliance \"ap1\"");
    EXPECT_EQ(document["snapshot"]["state"], "partial");
    EXPECT_TRUE(document["snapshot"]["thaw_command"].is_null());
    EXPECT_NE(run.err.find("fictl: warning: snapshot \"s\": the application was frozen as long as --max-freeze allows; "
                           "it was thawed after "),
              std::string::npos)
        << run.err;
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 5);
    expectNothingRuns();
}

TEST_F(CFreezeTest, AFreezeCommandThatLastsTooLongIsEndedWithAllItStartedAndThawed)
{
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1", "--max-freeze", "1", "--freeze",
                                "trap '' TERM; sleep 1000 & sleep 1000", "--thaw", noteThaw()});
    EXPECT_EQ(run.exit, 12);
    EXPECT_EQ(run.document()["error"]["message"],
              "freeze command \"trap '' TERM; sleep 1000 & sleep 1000\" failed: not done when --max-freeze had passed");
    EXPECT_GE(run.document()["error"]["frozen_seconds"].get<double>(), 1);
    EXPECT_EQ(hooks(), Lines{"thaw timed-out"});
    EXPECT_EQ(state("s"), "");
    EXPECT_TRUE(objects().empty());
    expectNothingRuns();
}

TEST_F(CFreezeTest, AFreezeCommandEndsWithAFictlThatIsKilledAndIsThawed)
{
    const pid_t pid =
        startHeld({"snapshot", "create", "s", "/dev/fake1", "--freeze",
                   "trap '' TERM; sleep 1000 & touch " + fake("freezing") + "; sleep 1000", "--thaw", noteThaw()});
    release();
    waitForFile("freezing");
    kill(pid, SIGKILL);
    EXPECT_EQ(finish().exit, KILLED);
    expectNothingRuns();
    EXPECT_EQ(hooks(), Lines{"thaw killed"});
    EXPECT_NE(
        standardError().find("fictl: warning: snapshot \"s\": fictl ended while the application was frozen; it was "
                             "thawed after "),
        std::string::npos)
        << standardError();
}

TEST_F(CFreezeTest, WithoutFictlAThawThatFailsIsTriedAgain)
{
    const std::string thaw = noteThaw() + "; test $(grep -c thaw " + fake("hooks") + ") -ge 2";
    kill(startFrozen("60", thaw), SIGKILL);
    finish();
    expectNothingRuns();
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw killed", "thaw killed"}));
}

TEST_F(CFreezeTest, WithoutFictlAThawThatKeepsFailingIsToldOf)
{
    kill(startFrozen("60", noteThaw() + "; exit 3"), SIGKILL);
    finish();
    expectNothingRuns();
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw killed", "thaw killed", "thaw killed"}));
    EXPECT_NE(
        standardError().find("fictl: warning: snapshot \"s\": fictl ended while the application was frozen, and it "
                             "may still be: the thaw command \""),
        std::string::npos);
    EXPECT_NE(standardError().find("\" failed 3 times: exit status 3; run it by hand\n"), std::string::npos)
        << standardError();
}

TEST_F(CFreezeTest, AFictlThatIsKilledWhileItThawsIsThawedOnce)
{
    const pid_t pid = startFrozen("60", noteThaw() + "; until test -e " + fake("melt") + "; do sleep 0.01; done");
    touch("go");
    waitForThaw();
    kill(pid, SIGKILL);
    EXPECT_EQ(finish().exit, KILLED);
    touch("melt");
    expectNothingRuns();
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw made"}));
}

TEST_F(CFreezeTest, WithoutItsGuardianFictlThawsByItself)
{
    startFrozen();
    kill(guardian(), SIGKILL);
    waitForThaw();
    touch("go");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 12) << run.err;
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw killed"}));
    EXPECT_NE(run.err.find("fictl: warning: the guardian process is gone; the application is thawed by fictl itself\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(state("s"), "partial");
    expectNothingRuns();
}

TEST_F(CFreezeTest, AFreezeCommandWhoseGuardianIsKilledIsEndedAndThawed)
{
    startHeld({"snapshot", "create", "s", "/dev/fake1", "--freeze", "touch " + fake("freezing") + "; sleep 1000; true",
               "--thaw", noteThaw()});
    release();
    waitForFile("freezing");
    kill(guardian(), SIGKILL);
    const SRun run = finish();
    EXPECT_EQ(run.exit, 12) << run.err;
    EXPECT_NE(run.err.find("failed: the guardian process was killed\n"), std::string::npos) << run.err;
    EXPECT_EQ(hooks(), Lines{"thaw killed"});
    EXPECT_EQ(state("s"), "");
    expectNothingRuns();
}

TEST_F(CFreezeTest, WhereTheGuardianIsGoneBeforeNothingIsFrozen)
{
    arm("quiesce wait go\n");
    startHeld({"snapshot", "create", "s", "/dev/fake1", "--freeze", note("freeze"), "--thaw", noteThaw()});
    release();
    waitForFile("go.reached");
    const pid_t killed = guardian();
    kill(killed, SIGKILL);
    waitUntil([killed] { return !processes::isThere(killed); });
    touch("go");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 12);
    EXPECT_NE(run.err.find("fictl: the guardian process is gone, so nothing was frozen, and nothing was made\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(hooks(), Lines{});
    EXPECT_EQ(state("s"), "");
    EXPECT_TRUE(objects().empty());
}

TEST_F(CFreezeTest, AGuardianThatIsHeldIsReplaced)
{
    startFrozen("1");
    kill(guardian(), SIGSTOP);
    waitForThaw();
    touch("go");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 12) << run.err;
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw killed"}));
    expectNothingRuns();
}

TEST_F(CFreezeTest, TheCommandsAreToldWhatTheyRunFor)
{
    const std::string tell =
        "printf '%s|' \"$FICTL_PHASE\" \"$FICTL_SNAPSHOT\" \"$FICTL_DEVICES\" \"$FICTL_STATUS\" >> " + fake("told");
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3", "--freeze", tell, "--thaw", tell}).exit, 0);
    EXPECT_EQ(base_test::contentOf(fake("told")),
              "freeze|s|/dev/fake1\n/dev/fake3||thaw|s|/dev/fake1\n/dev/fake3|made|");
    fs::remove(fake("told"));
    arm("prepare fail\n");
    EXPECT_EQ(fictl({"snapshot", "create", "t", "/dev/fake1", "--freeze", "true", "--thaw", tell}).exit, 8);
    EXPECT_EQ(base_test::contentOf(fake("told")), "thaw|t|/dev/fake1|failed|");
    fs::remove(fake("told"));
    EXPECT_EQ(fictl({"snapshot", "create", "t", "/dev/fake1", "--freeze", "false", "--thaw", tell}).exit, 12);
    EXPECT_EQ(base_test::contentOf(fake("told")), "thaw|t|/dev/fake1|failed|");
}

TEST_F(CFreezeTest, TheResultSaysHowLongTheApplicationWasFrozen)
{
    const SRun made = fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "true"});
    ASSERT_EQ(made.exit, 0);
    EXPECT_NE(made.out.find("\nthe application was frozen for 0."), std::string::npos) << made.out;
    EXPECT_EQ(fictl({"snapshot", "create", "t", "/dev/fake1"}).out.find("frozen"), std::string::npos);
    arm("make:g1 fail the group is offline\n");
    const SRun failed = fictlJson({"snapshot", "create", "u", "/dev/fake1", "--freeze", "true", "--thaw", "true"});
    EXPECT_EQ(failed.exit, 8);
    EXPECT_GT(failed.document()["error"]["frozen_seconds"].get<double>(), 0);
    EXPECT_NE(failed.err.find("\n  frozen: the application for 0."), std::string::npos) << failed.err;
    EXPECT_FALSE(fictlJson({"snapshot", "create", "u", "/dev/fake1"}).document()["error"].contains("frozen_seconds"));
}

TEST_F(CFreezeTest, AKeyAtTheTerminalReachesNeitherCommandNorGuardian)
{
    const pid_t pid = startHeld({"snapshot", "create", "s", "/dev/fake1", "--freeze", note("freeze"), "--thaw",
                                 noteThaw() + "; until test -e " + fake("melt") + "; do sleep 0.01; done"});
    setpgid(pid, pid);
    release();
    waitForThaw();
    // All that a terminal would send it to.
    kill(-pid, SIGINT);
    kill(-pid, SIGTSTP);
    kill(-pid, SIGCONT);
    touch("melt");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(hooks(), (Lines{"freeze", "thaw made"}));
    EXPECT_EQ(state("s"), "complete");
}

TEST_F(CFreezeTest, TheGuardianKeepsNeitherCatalogNorOutputOpen)
{
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw",
                            "readlink /proc/$PPID/fd/* > " + fake("open")});
    ASSERT_EQ(run.exit, 0) << run.err;
    std::istringstream targets(base_test::contentOf(fake("open")));
    Lines files;
    for (std::string target; targets >> target;) {
        if (target.starts_with("/")) files.push_back(target);
    }
    EXPECT_EQ(files, (Lines{"/dev/null", "/dev/null", m_root + "/tmp/run0.err"}));
}

TEST_F(CFreezeTest, ACommandLineBeyondWhatTheSystemTakesIsRefusedBeforeAnythingIsFrozen)
{
    Lines arguments = {"snapshot", "create", "s", "/dev/fake1"};
    std::ofstream devices(fake("devices"), std::ios::app);
    for (int i = 100; i < 160; ++i) {
        const std::string path = "/dev/" + std::string(3000, 'x') + std::to_string(i);
        devices << path << " S" << i << " ap1 g1\n";
        arguments.push_back(path);
    }
    devices.close();
    arguments.insert(arguments.end(), {"--freeze", note("freeze"), "--thaw", noteThaw()});
    const SRun run = fictl(arguments);
    EXPECT_EQ(run.exit, 12);
    EXPECT_NE(run.err.find("failed: cannot start: Argument list too long\n"), std::string::npos) << run.err;
    EXPECT_EQ(hooks(), Lines{});
    EXPECT_EQ(state("s"), "");
}

}  // namespace
