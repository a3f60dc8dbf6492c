#include "host/src/guardian/hook.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/tests/stalled_program.h"
#include "base/tests/temporary_folder.h"
#include "host/tests/processes.h"

namespace fictl {

namespace {

using processes::isThere;
using processes::waitUntil;

SHookResult run(const std::string& command, const std::vector<std::string>& added = {})
{
    CHookRun hook(command, std::chrono::seconds(60), added);
    return runToEnd(hook);
}

/// A folder of the test's own, and the id that a command has written into its file "pid".
class CHookTest : public testing::Test
{
  protected:
    std::string sleeper() const { return "sleep 1000 & echo $! > " + m_folder + "/pid; mv " + renamed(); }
    std::string renamed() const { return m_folder + "/pid " + m_folder + "/there"; }

    pid_t sleeperPid() const
    {
        pid_t pid = 0;
        waitUntil([&] { return static_cast<bool>(std::ifstream(m_folder + "/there") >> pid); });
        return pid;
    }

    const base_test::CTemporaryFolder m_temporary;
    const std::string m_folder = m_temporary.path();
};

}  // namespace

TEST_F(CHookTest, TellsHowTheCommandEnded)
{
    EXPECT_TRUE(run("true").ok);
    EXPECT_EQ(run("true").reason, "");
    EXPECT_EQ(run("exit 3").reason, "exit status 3");
    EXPECT_EQ(run("kill -9 $$").reason, "killed by signal 9");
    EXPECT_EQ(run("/nonexistent/command 2>/dev/null").reason, "exit status 127");
}

TEST_F(CHookTest, StopsACommandThatTakesTooLongWithAllItStarted)
{
    CHookRun hook(sleeper() + "; wait", std::chrono::seconds(1), {});
    const SHookResult result = runToEnd(hook);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.reason, "no end within 1 s");
    waitUntil([pid = sleeperPid()] { return !isThere(pid); });
}

TEST_F(CHookTest, TimeThatTheShellNeedsToBeOpenedCountsAgainstTheLimit)
{
    constexpr int NOT_ALLOWED = 99;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // A shell that stalls, seen by this process alone.
        if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) _exit(NOT_ALLOWED);
        const base_test::CStalledProgram stalled(m_folder + "/sh");
        const std::string shell = std::filesystem::canonical("/bin/sh");
        if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount((m_folder + "/sh").c_str(), shell.c_str(), nullptr, MS_BIND, nullptr) != 0) {
            _exit(NOT_ALLOWED);
        }
        CHookRun hook("true", std::chrono::seconds(1), {});
        const SHookResult result = runToEnd(hook);
        _exit(!hook.wasStarted() && !result.ok && result.reason == "no end within 1 s" ? 7 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WEXITSTATUS(status) == NOT_ALLOWED) {
        GTEST_SKIP() << "NOT CHECKED: this system gives this user no mount namespace";
    }
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(CHookTest, ACommandThatIgnoresItsStopIsKilledAfterTheGraceWithAllItStarted)
{
    CHookRun hook("trap '' TERM; " + sleeper() + "; wait", std::chrono::seconds(60), {});
    const pid_t pid = sleeperPid();
    hook.stop(std::chrono::seconds(60));
    EXPECT_FALSE(hook.look());
    // A later stop that is more urgent counts.
    hook.stop(std::chrono::milliseconds(50));
    EXPECT_EQ(runToEnd(hook).reason, "killed by signal 9");
    waitUntil([pid = pid] { return !isThere(pid); });
}

TEST_F(CHookTest, WhatACommandThatHasEndedLeftInTheBackgroundGoesOn)
{
    EXPECT_TRUE(run(sleeper()).ok);
    const pid_t pid = sleeperPid();
    EXPECT_TRUE(isThere(pid));
    kill(pid, SIGKILL);
}

TEST_F(CHookTest, ARunThatIsGivenUpIsKilledWithAllItStarted)
{
    pid_t pid = 0;
    {
        const CHookRun hook(sleeper() + "; wait", std::chrono::seconds(60), {});
        EXPECT_TRUE(hook.wasStarted());
        pid = sleeperPid();
    }
    waitUntil([pid = pid] { return !isThere(pid); });
}

TEST_F(CHookTest, GivesTheCommandDefaultSignalHandlingAndNoBlockedSignal)
{
    struct sigaction old = {};
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &old);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    EXPECT_EQ(run("kill -PIPE $$").reason, "killed by signal 13");
    EXPECT_EQ(run("kill -TERM $$").reason, "killed by signal 15");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    sigaction(SIGPIPE, &old, nullptr);
}

TEST_F(CHookTest, AddsToTheEnvironmentAndReplacesWhatStoodThere)
{
    setenv("FICTL_HOOK_TEST", "old", 1);         // NOLINT(concurrency-mt-unsafe)
    setenv("FICTL_HOOK_TEST_MORE", "stays", 1);  // NOLINT(concurrency-mt-unsafe)
    EXPECT_TRUE(run("test \"$FICTL_HOOK_TEST,$FICTL_HOOK_TEST_MORE\" = 'a\nb,stays'", {"FICTL_HOOK_TEST=a\nb"}).ok);
    unsetenv("FICTL_HOOK_TEST");       // NOLINT(concurrency-mt-unsafe)
    unsetenv("FICTL_HOOK_TEST_MORE");  // NOLINT(concurrency-mt-unsafe)
}

TEST_F(CHookTest, ACommandThatCannotBeStartedSaysWhy)
{
    // The system takes no variable of this size.
    const std::vector<std::string> tooLong = {"FICTL_DEVICES=" + std::string(1U << 20U, 'x')};
    CHookRun hook("true", std::chrono::seconds(60), tooLong);
    EXPECT_FALSE(hook.wasStarted());
    EXPECT_EQ(runToEnd(hook).reason, "cannot start: Argument list too long");
}

}  // namespace fictl
