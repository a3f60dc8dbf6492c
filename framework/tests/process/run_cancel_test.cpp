// Ending the runs of a process from outside, and a time-out for all of them.
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>

#include <csignal>
#include <memory>

#include "base/tests/no_descriptor_left.h"
#include "framework/tests/process/run_fixture.h"

namespace {

using namespace obzx_pdk_4_4;
using base_test::CNoDescriptorLeft;
using obzx_test::SSeenRun;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A thread that runs one program with a time-out of a minute.
class CRunner
{
  public:
    explicit CRunner(const std::string& command) : m_thread([this, command] { m_result = exec(command); }) {}
    int join()
    {
        m_thread.join();
        return m_result;
    }
    const SFiExecError& error() const { return m_pipe.getError(); }

  private:
    int exec(const std::string& command)
    {
        std::vector<std::string> lines;
        return m_pipe.Exec(command, lines, "", 60, "", "", "");
    }

    CFiExecPipePosix m_pipe{1};
    int m_result = -1;
    std::thread m_thread;
};

class RunCancel : public obzx_test::CRunTest
{
  protected:
    /// Descriptors by which runs wait for a cancellation: one a run, and one for all.
    static size_t countEvents()
    {
        size_t count = 0;
        for (const std::string& path : openDescriptors()) {
            std::error_code none;
            if (std::filesystem::read_symlink(path, none) == "anon_inode:[eventfd]") ++count;
        }
        return count;
    }
    /// The test's own time limit ends the wait for runs that do not begin to wait.
    static void waitUntilRunsWait(size_t count)
    {
        while (countEvents() != count + 1) {
            ::usleep(1000);
        }
    }
    int32_t m_stopped = -1;

    static void expectCancelled(const SSeenRun& end)
    {
        EXPECT_EQ(end.result, EXEC_TIMED_OUT);
        EXPECT_EQ(end.stopped, OBZX_RUN_STOPPED_BY_CANCEL);
        EXPECT_EQ(end.signal, SIGTERM);
        EXPECT_EQ(end.exitStatus, 0);
        EXPECT_EQ(end.error, 0);
        EXPECT_EQ(end.limitSeconds, 60u);
        EXPECT_LT(end.duration, 5000u * 1000 * 1000) << "nobody had to wait";
    }
};

TEST_F(RunCancel, EndsWhatRunsAndSaysSo)
{
    m_pipe.registerTraceLog(makeLog());
    std::thread canceller([this] {
        waitForStarts(1);
        waitUntilRunsWait(1);
        obzx_cancel_runs();
    });
    EXPECT_EQ(run(child("hang")), EXEC_TIMED_OUT);
    canceller.join();
    const std::string text = "Command [" + child("hang") + "] was cancelled and was stopped";
    EXPECT_EQ(message(), text);
    EXPECT_EQ(m_pipe.getError().result, EXEC_TIMED_OUT);
    EXPECT_EQ(code(), ECANCELED);
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit CFiExecPipePosix::Exec - " + text));
    ASSERT_THAT(ends(), SizeIs(1));
    expectCancelled(ends()[0]);
    EXPECT_EQ(ends()[0].output, std::to_string(ends()[0].process) + "\n");
    EXPECT_EQ(m_lines.at(0) + "\n", ends()[0].output);
    EXPECT_EQ(countEvents(), 0u);
}

TEST_F(RunCancel, EndsTenRunsAtOnce)
{
    std::vector<std::unique_ptr<CRunner>> runners;
    for (int i = 0; i < 10; ++i) {
        runners.push_back(std::make_unique<CRunner>(child("hang")));
    }
    waitUntilRunsWait(10);
    obzx_cancel_runs();
    for (const auto& runner : runners) {
        EXPECT_EQ(runner->join(), EXEC_TIMED_OUT);
    }
    EXPECT_THAT(ends(), SizeIs(10));
    for (const SSeenRun& end : ends()) {
        expectCancelled(end);
    }
    EXPECT_EQ(countEvents(), 0u);
}

TEST_F(RunCancel, EndsARunThatIsJustBeingStarted)
{
    obzx_set_run_observer(
        [](void* context, const obzx_run* run) {
            if (run->phase == OBZX_RUN_STARTED) return obzx_cancel_runs();
            *static_cast<int32_t*>(context) = run->stopped;
        },
        &m_stopped);
    EXPECT_EQ(run(child("hang")), EXEC_TIMED_OUT);
    EXPECT_EQ(m_stopped, OBZX_RUN_STOPPED_BY_CANCEL);
}

TEST_F(RunCancel, LosesNoRunThatBeginsAtTheSameTime)
{
    std::atomic<bool> isDone{false};
    std::thread runner([&] {
        for (int i = 0; i < 30; ++i) {
            EXPECT_EQ(run(child("hang")), EXEC_TIMED_OUT);
        }
        isDone = true;
    });
    while (!isDone) {
        obzx_cancel_runs();
        std::this_thread::yield();
    }
    runner.join();
    EXPECT_THAT(ends(), SizeIs(30));
    for (const SSeenRun& end : ends()) {
        expectCancelled(end);
    }
    EXPECT_EQ(countEvents(), 0u);
}

TEST_F(RunCancel, DoesNotConcernRunsThatStartLater)
{
    obzx_cancel_runs();
    EXPECT_EQ(run(child("close 3")), EXEC_FAILED);
    ASSERT_THAT(ends(), SizeIs(1));
    EXPECT_EQ(ends()[0].exitStatus, 3);
    EXPECT_EQ(ends()[0].stopped, OBZX_RUN_NOT_STOPPED);
}

TEST_F(RunCancel, LaterRunsCanBeCancelledWhileEarlierOnesAreBeingStopped)
{
    // The one ends only when the other has begun to wait in a round of its own.
    const std::string script = "trap 'touch " + root() + "/told; until [ -e " + root() +
                               "/go ]; do sleep 0.01; done; exit 4' TERM; touch " + root() +
                               "/ready; while :; do sleep 0.01; done";
    CRunner first("/bin/sh -c \"" + script + "\"");
    while (::access((root() + "/ready").c_str(), F_OK) != 0) {
        ::usleep(1000);
    }
    obzx_cancel_runs();
    while (::access((root() + "/told").c_str(), F_OK) != 0) {
        ::usleep(1000);
    }
    CRunner second(child("hang"));
    waitForStarts(2);
    obzx_cancel_runs();
    EXPECT_EQ(second.join(), EXEC_TIMED_OUT);
    obzx_test::writeFile(root() + "/go", "");
    EXPECT_EQ(first.join(), EXEC_TIMED_OUT);
    ASSERT_THAT(ends(), SizeIs(2));
    expectCancelled(ends()[0]);
    EXPECT_EQ(ends()[1].stopped, OBZX_RUN_STOPPED_BY_CANCEL);
    EXPECT_EQ(ends()[1].exitStatus, 4) << "it exited, although it was told to";
    EXPECT_EQ(ends()[1].signal, 0);
    EXPECT_EQ(countEvents(), 0u);
}

TEST_F(RunCancel, LeavesARunThatTheLimitIsStoppingToTheLimit)
{
    const std::string script = "trap 'touch " + root() + "/told; until [ -e " + root() +
                               "/go ]; do sleep 0.01; done; exit 4' TERM; while :; do sleep 0.01; done";
    std::thread canceller([this] {
        while (::access((root() + "/told").c_str(), F_OK) != 0) {
            ::usleep(1000);
        }
        obzx_cancel_runs();
        obzx_test::writeFile(root() + "/go", "");
    });
    EXPECT_EQ(run("/bin/sh -c \"" + script + "\"", "", 1), EXEC_TIMED_OUT);
    canceller.join();
    EXPECT_EQ(code(), ETIMEDOUT);
    ASSERT_THAT(ends(), SizeIs(1));
    EXPECT_EQ(ends()[0].stopped, OBZX_RUN_STOPPED_BY_LIMIT);
    EXPECT_EQ(ends()[0].exitStatus, 4);
}

TEST_F(RunCancel, KillsAProgramThatIgnoresTermination)
{
    CRunner runner(child("stubborn"));
    waitUntilRunsWait(1);
    obzx_cancel_runs();
    EXPECT_EQ(runner.join(), EXEC_TIMED_OUT);
    ASSERT_THAT(ends(), SizeIs(1));
    EXPECT_EQ(ends()[0].signal, SIGKILL);
    EXPECT_EQ(ends()[0].stopped, OBZX_RUN_STOPPED_BY_CANCEL);
    EXPECT_GE(ends()[0].duration, 5000u * 1000 * 1000);
}

#ifndef __SANITIZE_ADDRESS__  // the checks that are built along with it open a pipe to look at an object
TEST_F(RunCancel, WorksForAHostWithoutADescriptorLeft)
{
    struct SHost
    {
        std::unique_ptr<CNoDescriptorLeft> limit;
        std::atomic<bool> isStarted{false};
        int32_t stopped = 0;
    } host;
    obzx_set_run_observer(
        [](void* context, const obzx_run* run) {
            auto* const state = static_cast<SHost*>(context);
            state->limit = run->phase == OBZX_RUN_STARTED ? std::make_unique<CNoDescriptorLeft>() : nullptr;
            state->stopped = run->stopped;
            state->isStarted = true;
        },
        &host);
    CRunner runner(child("hang"));
    while (!host.isStarted) {
        ::usleep(1000);
    }
    obzx_cancel_runs();
    EXPECT_EQ(runner.join(), EXEC_TIMED_OUT);
    EXPECT_EQ(host.stopped, OBZX_RUN_STOPPED_BY_CANCEL);
}
#endif

TEST_F(RunCancel, MayComeFromASignalHandlerOfTheThreadThatWaits)
{
    struct sigaction action = {}, former = {};
    action.sa_handler = [](int) { obzx_cancel_runs(); };
    ::sigaction(SIGUSR1, &action, &former);
    const pthread_t self = ::pthread_self();
    std::thread sender([self] {
        waitUntilRunsWait(1);
        ::pthread_kill(self, SIGUSR1);
    });
    EXPECT_EQ(run(child("hang")), EXEC_TIMED_OUT);
    sender.join();
    ::sigaction(SIGUSR1, &former, nullptr);
    ASSERT_THAT(ends(), SizeIs(1));
    expectCancelled(ends()[0]);
}

TEST_F(RunCancel, KeepsErrno)
{
    CRunner runner(child("hang"));
    waitUntilRunsWait(1);
    errno = ENOTDIR;
    obzx_cancel_runs();
    EXPECT_EQ(errno, ENOTDIR);
    runner.join();
}

TEST_F(RunCancel, OfAForkedCopyDoesNotConcernTheHostsRuns)
{
    CRunner runner(child("hang"));
    waitUntilRunsWait(1);
    EXPECT_TRUE(inChild([] {
        obzx_cancel_runs();
        return true;
    }));
    // It has noticed that somebody else called: its own descriptor is closed.
    waitUntilRunsWait(0);
    EXPECT_THAT(ends(), IsEmpty());
    obzx_cancel_runs();
    EXPECT_EQ(runner.join(), EXEC_TIMED_OUT);
    ASSERT_THAT(ends(), SizeIs(1));
    expectCancelled(ends()[0]);
    EXPECT_EQ(countEvents(), 0u);
}

class RunLimit : public obzx_test::CRunTest
{
  protected:
    std::string tooLate(int seconds) const
    {
        return "Command [" + child("hang") + "] did not end within " + std::to_string(seconds) +
               " seconds and was stopped";
    }
    uint64_t limitOf(unsigned long timeout)
    {
        forget();
        run(child("exit 0"), "", timeout);
        return seen().back().limitSeconds;
    }
};

TEST_F(RunLimit, StopsARunWhoseCallerWouldWaitLonger)
{
    obzx_set_run_limit(1);
    EXPECT_EQ(run(child("hang"), "", 600), EXEC_TIMED_OUT);
    EXPECT_EQ(message(), tooLate(1));
    EXPECT_EQ(seen().back().limitSeconds, 1u);
    EXPECT_EQ(seen().back().stopped, OBZX_RUN_STOPPED_BY_LIMIT);
}

TEST_F(RunLimit, DoesNotRaiseTheCallersTimeOut)
{
    obzx_set_run_limit(600);
    EXPECT_EQ(run(child("hang"), "", 0), EXEC_TIMED_OUT);
    EXPECT_EQ(message(), tooLate(0));
}

TEST_F(RunLimit, IsTheLeastOfCallersStoresAndProcesss)
{
    m_pipe.registerTraceLog(makeLog());
    configure("[FI_EXEC]\nMAX_TIMEOUT=50\n");
    obzx_set_run_limit(40);
    EXPECT_EQ(limitOf(60), 40u);
    EXPECT_EQ(limitOf(30), 30u);
    obzx_set_run_limit(55);
    EXPECT_EQ(limitOf(60), 50u);
}

TEST_F(RunLimit, OfZeroTakesItAway)
{
    obzx_set_run_limit(40);
    obzx_set_run_limit(0);
    EXPECT_EQ(limitOf(60), 60u);
}

TEST_F(RunLimit, OfAnySizeIsNoProblem)
{
    obzx_set_run_limit(UINT64_MAX);
    EXPECT_EQ(limitOf(60), 60u);
    EXPECT_EQ(limitOf(~0UL), 10u * 365 * 24 * 3600) << "the longest that a clock is trusted with";
}

}  // namespace
