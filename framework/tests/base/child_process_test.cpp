#include "framework/src/child_process.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>

#include "framework/src/process_spawn.h"
#include "framework/tests/base/no_descriptor_left.h"

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

using namespace obzx_pdk_4_4;
using obzx_test::CNoDescriptorLeft;
using Clock = CChildProcess::Clock;

// Its output stays open with the result.
SSpawned start(const char* what, const char* argument = "")
{
    SSpawned spawned;
    const int status = spawnProcess({{EXEC_CHILD, what, argument}, "", "", ""}, spawned);
    EXPECT_EQ(status, 0);
    return spawned;
}

bool isCollected(pid_t pid)
{
    return ::waitpid(pid, nullptr, WNOHANG) == -1 && errno == ECHILD;
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

TEST_P(ChildProcess, ThatStillRunsEndsWithItsObject)
{
    const SSpawned spawned = start("stubborn");
    const pid_t pid = spawned.pid;
    {
        const auto limit = descriptors();
        CChildProcess process(pid);
        EXPECT_FALSE(process.ended());
    }
    EXPECT_TRUE(isCollected(pid));
}

TEST(HeldChildProcess, DoesNotHoldItsObjectUp)
{
    const SSpawned spawned = start("stubborn");
    {
        const CNoDescriptorLeft limit;  // would tell that the process ended after all
        CChildProcess process(spawned.pid);
        g_noneEnds = true;
    }
    g_noneEnds = false;
    int status = 0;
    EXPECT_EQ(::waitpid(spawned.pid, &status, 0), spawned.pid) << "it was killed and given up";
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST_P(ChildProcess, StatusIsTakenOnce)
{
    const SSpawned spawned = start("exit", "7");
    const pid_t pid = spawned.pid;
    const auto limit = descriptors();
    CChildProcess process(pid);
    while (!process.ended()) {
        process.waitFor(-1, Clock::now() + std::chrono::seconds(60));
    }
    EXPECT_TRUE(isCollected(pid));
    EXPECT_TRUE(process.ended());
    EXPECT_EQ(process.exitStatus().status, 7);
    EXPECT_FALSE(process.exitStatus().killed);
    EXPECT_FALSE(process.exitStatus().lost);
}

TEST_P(ChildProcess, StatusThatSomebodyElseTookIsLost)
{
    const SSpawned spawned = start("exit", "7");
    const pid_t pid = spawned.pid;
    const auto limit = descriptors();
    CChildProcess process(pid);
    ASSERT_EQ(::waitpid(pid, nullptr, 0), pid);
    EXPECT_TRUE(process.ended());
    EXPECT_TRUE(process.exitStatus().lost);
}

TEST_P(ChildProcess, WaitEndsAtItsTime)
{
    const SSpawned spawned = start("hang");
    const auto limit = descriptors();
    CChildProcess process(spawned.pid);
    EXPECT_FALSE(process.waitFor(-1, Clock::now() - std::chrono::hours(1)));
    EXPECT_FALSE(process.waitFor(-1, Clock::now() + std::chrono::milliseconds(1)));
    EXPECT_FALSE(process.ended());
    process.stop(-1);
    EXPECT_TRUE(process.ended());
    EXPECT_TRUE(process.exitStatus().killed);
    EXPECT_EQ(process.exitStatus().status, 128 + SIGTERM);
}

TEST(ProcessSpawn, NothingToRunIsRefused)
{
    SSpawned spawned;
    EXPECT_EQ(spawnProcess({{}, "", "", ""}, spawned), EINVAL);
    EXPECT_EQ(spawned.pid, -1);
}

}  // namespace
