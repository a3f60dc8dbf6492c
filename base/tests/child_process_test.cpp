#include "base/child_process.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>

#include "base/poll_until.h"
#include "base/tests/no_descriptor_left.h"
#include "base/tests/process_end.h"
#include "base/tests/script.h"

namespace {

// As the kernel answers about a process that it does not let go.
bool g_noneEnds = false;

}  // namespace

// Comes before the C library's.
int waitid(idtype_t type, id_t id, siginfo_t* info, int options)
{
    if (g_noneEnds) return 0;
    return static_cast<int>(::syscall(SYS_waitid, type, id, info, options, nullptr));
}

namespace {

using base::CChildProcess;
using base_test::CNoDescriptorLeft;
using base_test::CScript;
using base_test::goesAway;
using base_test::isCollected;
using base_test::isGone;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = CChildProcess::Clock;
using ERest = CChildProcess::ERest;

constexpr const char* HANG = "echo ready; exec sleep 60";
constexpr const char* STUBBORN = "trap '' TERM; echo ready; sleep 60; sleep 60";
// Each tells the id of one that it leaves in the background.
constexpr const char* LEADER_OF_STUBBORN = "trap '' TERM; sleep 60 & trap 'exit 4' TERM; echo $!; wait";
constexpr const char* LEAVES_SLEEPER = "sleep 60 >/dev/null 2>&1 & echo $!";

void waitForEnd(CChildProcess& process)
{
    while (!process.hasEnded()) {
        pollfd watched[] = {{process.descriptor(), POLLIN, 0}};
        base::pollUntil(watched, process.lookAt());
    }
}

// With a descriptor that tells the end of the process, and without one.
class ChildProcess : public ::testing::TestWithParam<bool>
{
  protected:
    static std::unique_ptr<CNoDescriptorLeft> descriptors()
    {
        return GetParam() ? nullptr : std::make_unique<CNoDescriptorLeft>();
    }
};

INSTANTIATE_TEST_SUITE_P(, ChildProcess, ::testing::Bool(),
                         [](const auto& each) { return each.param ? "WithADescriptor" : "WithoutADescriptor"; });

TEST_P(ChildProcess, StatusIsTakenOnce)
{
    const CScript script("exit 7");
    const auto limit = descriptors();
    CChildProcess process(script.pid());
    EXPECT_EQ(process.descriptor() >= 0, GetParam());
    waitForEnd(process);
    EXPECT_TRUE(isCollected(script.pid()));
    EXPECT_TRUE(process.hasEnded());
    EXPECT_EQ(process.descriptor(), -1) << "the id may be another's by now";
    EXPECT_EQ(process.exitStatus().exit, 7);
    EXPECT_EQ(process.exitStatus().signal, 0);
    EXPECT_FALSE(process.exitStatus().lost);
}

TEST_P(ChildProcess, StatusThatSomebodyElseTookIsLost)
{
    const CScript script("exit 7");
    const auto limit = descriptors();
    CChildProcess process(script.pid());
    ASSERT_EQ(::waitpid(script.pid(), nullptr, 0), script.pid());
    EXPECT_TRUE(process.hasEnded());
    EXPECT_TRUE(process.exitStatus().lost);
}

TEST_P(ChildProcess, IsLookedAtSoonOnlyWhereNoDescriptorTellsItsEnd)
{
    const CScript script(HANG);
    const auto limit = descriptors();
    CChildProcess process(script.pid());
    process.descriptor();
    if (GetParam()) {
        EXPECT_EQ(process.lookAt(), Clock::time_point::max());
    } else {
        const Clock::time_point at = process.lookAt();
        EXPECT_LE(at, Clock::now() + milliseconds(10));
    }
    EXPECT_FALSE(process.hasEnded());
}

TEST_P(ChildProcess, StopEndsIt)
{
    const CScript script(HANG);
    script.line();
    const auto limit = descriptors();
    CChildProcess process(script.pid());
    EXPECT_FALSE(process.isStopping());
    process.stop(seconds(60), ERest::HAS_GRACE);
    EXPECT_TRUE(process.isStopping());
    waitForEnd(process);
    EXPECT_EQ(process.exitStatus().signal, SIGTERM);
}

TEST_P(ChildProcess, ThatIgnoresItsStopIsKilledAfterTheShortestGrace)
{
    const CScript script(STUBBORN);
    script.line();
    const auto limit = descriptors();
    CChildProcess process(script.pid());
    process.stop(seconds(60), ERest::IS_KILLED);
    EXPECT_FALSE(process.hasEnded());
    process.stop(milliseconds(50), ERest::IS_KILLED);
    process.stop(seconds(60), ERest::IS_KILLED);
    waitForEnd(process);
    EXPECT_EQ(process.exitStatus().signal, SIGKILL);
}

TEST_P(ChildProcess, RestThatIsKilledGoesWithIt)
{
    const CScript script(LEADER_OF_STUBBORN);
    const pid_t rest = std::stoi(script.line());
    auto limit = descriptors();
    CChildProcess process(script.pid());
    process.stop(seconds(60), ERest::IS_KILLED);
    waitForEnd(process);
    EXPECT_EQ(process.exitStatus().exit, 4);
    limit.reset();
    EXPECT_TRUE(goesAway(rest));
}

TEST_P(ChildProcess, RestThatHasGraceIsWaitedForAndThenKilled)
{
    const CScript script(LEADER_OF_STUBBORN);
    const pid_t rest = std::stoi(script.line());
    auto limit = descriptors();
    CChildProcess process(script.pid());
    process.stop(seconds(60), ERest::HAS_GRACE);
    siginfo_t info = {};
    EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(script.pid()), &info, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(process.hasEnded());
    EXPECT_TRUE(isCollected(script.pid()));
    process.stop(milliseconds(50), ERest::HAS_GRACE);
    waitForEnd(process);
    EXPECT_EQ(process.exitStatus().exit, 4);
    limit.reset();
    EXPECT_TRUE(goesAway(rest));
}

TEST(ChildProcessRest, OfOneThatEndedByItselfGoesOn)
{
    const CScript script(LEAVES_SLEEPER);
    const pid_t rest = std::stoi(script.line());
    {
        CChildProcess process(script.pid());
        waitForEnd(process);
        EXPECT_EQ(process.exitStatus().exit, 0);
        EXPECT_EQ(process.exitStatus().signal, 0);
    }
    EXPECT_FALSE(isGone(rest));
    ::kill(rest, SIGKILL);
}

TEST(ChildProcessRest, IsKilledWithTheObject)
{
    const CScript script("sleep 60 & echo $!; wait");
    const pid_t rest = std::stoi(script.line());
    {
        const CChildProcess process(script.pid());
    }
    EXPECT_TRUE(goesAway(rest));
    EXPECT_TRUE(goesAway(script.pid()));
}

TEST(HeldChildProcess, IsGivenUpAfterItWasKilled)
{
    const CScript script(STUBBORN);
    script.line();
    const CNoDescriptorLeft limit;  // would tell that the process ended after all
    CChildProcess process(script.pid());
    g_noneEnds = true;
    const Clock::time_point begin = Clock::now();
    process.kill();
    EXPECT_FALSE(process.hasEnded());
    waitForEnd(process);
    g_noneEnds = false;
    EXPECT_GE(Clock::now() - begin, seconds(5));
    EXPECT_TRUE(process.exitStatus().held);
    int status = 0;
    EXPECT_EQ(::waitpid(script.pid(), &status, 0), script.pid());
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

}  // namespace
