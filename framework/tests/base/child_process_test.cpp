#include "framework/src/child_process.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>

#include "framework/src/process_spawn.h"

namespace {

using namespace obzx_pdk_4_4;
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

TEST(ChildProcess, ThatStillRunsEndsWithItsObject)
{
    const SSpawned spawned = start("stubborn");
    const pid_t pid = spawned.pid;
    {
        CChildProcess process(pid);
        EXPECT_FALSE(process.ended());
    }
    EXPECT_TRUE(isCollected(pid));
}

TEST(ChildProcess, StatusIsTakenOnce)
{
    const SSpawned spawned = start("exit", "7");
    const pid_t pid = spawned.pid;
    CChildProcess process(pid);
    while (!process.ended())
        process.waitFor(-1, Clock::now() + std::chrono::seconds(60));
    EXPECT_TRUE(isCollected(pid));
    EXPECT_TRUE(process.ended());
    EXPECT_EQ(process.exitStatus().status, 7);
    EXPECT_FALSE(process.exitStatus().killed);
    EXPECT_FALSE(process.exitStatus().lost);
}

TEST(ChildProcess, StatusThatSomebodyElseTookIsLost)
{
    const SSpawned spawned = start("exit", "7");
    const pid_t pid = spawned.pid;
    CChildProcess process(pid);
    ASSERT_EQ(::waitpid(pid, nullptr, 0), pid);
    EXPECT_TRUE(process.ended());
    EXPECT_TRUE(process.exitStatus().lost);
}

TEST(ChildProcess, WaitEndsAtItsTime)
{
    const SSpawned spawned = start("hang");
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
