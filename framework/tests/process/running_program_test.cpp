#include "framework/src/process/running_program.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <memory>

#include "base/tests/no_descriptor_left.h"
#include "base/tests/process_end.h"
#include "framework/src/process/process_spawn.h"

namespace {

using namespace obzx_pdk_4_4;
using base_test::CNoDescriptorLeft;
using base_test::isCollected;
using Clock = CRunningProgram::Clock;

// Its output stays open with the result.
SSpawned start(const char* what, const char* argument = "")
{
    SSpawned spawned;
    const int status = spawnProcess({{EXEC_CHILD, what, argument}, "", "", ""}, spawned);
    EXPECT_EQ(status, 0);
    return spawned;
}

// With a descriptor that tells the end of the program, and without one.
class RunningProgram : public ::testing::TestWithParam<bool>
{
  protected:
    static std::unique_ptr<CNoDescriptorLeft> descriptors()
    {
        return GetParam() ? nullptr : std::make_unique<CNoDescriptorLeft>();
    }
};

INSTANTIATE_TEST_SUITE_P(, RunningProgram, ::testing::Bool(),
                         [](const auto& each) { return each.param ? "WithADescriptor" : "WithoutADescriptor"; });

TEST_P(RunningProgram, ThatStillRunsEndsWithItsObject)
{
    const SSpawned spawned = start("stubborn");
    {
        const auto limit = descriptors();
        CRunningProgram program(spawned.pid);
        EXPECT_FALSE(program.hasEnded());
    }
    EXPECT_TRUE(isCollected(spawned.pid));
}

TEST_P(RunningProgram, EndIsWaitedFor)
{
    const SSpawned spawned = start("exit", "7");
    const auto limit = descriptors();
    CRunningProgram program(spawned.pid);
    while (!program.hasEnded()) {
        program.wait(Clock::now() + std::chrono::seconds(60));
    }
    EXPECT_EQ(program.exitStatus().exit, 7);
}

TEST_P(RunningProgram, WaitEndsAtItsTime)
{
    const SSpawned spawned = start("hang");
    const auto limit = descriptors();
    CRunningProgram program(spawned.pid);
    program.wait(Clock::now() - std::chrono::hours(1));
    program.wait(Clock::now() + std::chrono::milliseconds(1));
    EXPECT_FALSE(program.hasEnded());
    program.stop();
    while (!program.hasEnded()) {
        program.wait(Clock::now() + std::chrono::seconds(60));
    }
    EXPECT_EQ(program.exitStatus().signal, SIGTERM);
}

TEST(ProcessSpawn, NothingToRunIsRefused)
{
    SSpawned spawned;
    EXPECT_EQ(spawnProcess({{}, "", "", ""}, spawned), EINVAL);
    EXPECT_EQ(spawned.pid, -1);
}

}  // namespace
