#include "host/src/guardian/program.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace fictl {
namespace {

SProgramEnd shell(const std::string& script)
{
    return CProgram({"/bin/sh", "-c", script}).run();
}

TEST(Program, GivesBothStreamsApart)
{
    const SProgramEnd end = shell("echo out; echo err >&2");
    EXPECT_EQ(end.exit, 0);
    EXPECT_EQ(end.output, "out\n");
    EXPECT_EQ(end.errors, "err\n");
    EXPECT_EQ(end.reason, "");
}

TEST(Program, SaysHowItEnded)
{
    EXPECT_EQ(shell("exit 3").exit, 3);
    EXPECT_EQ(shell("exit 3").reason, "ended with exit status 3");
    EXPECT_EQ(shell("kill -9 $$").exit, -1);
    EXPECT_EQ(shell("kill -9 $$").reason, "was killed by signal 9");
    const SProgramEnd missing = CProgram({"/nosuch/program"}).run();
    EXPECT_FALSE(missing.started);
    EXPECT_EQ(missing.reason, "could not be started: No such file or directory");
}

TEST(Program, StandardInputIsEmptyAndNothingElseIsOpen)
{
    EXPECT_EQ(shell("cat").output, "");
    EXPECT_EQ(shell("ls /proc/self/fd | wc -l").output, "4\n") << "three, and the one that ls itself opens";
}

TEST(Program, IsStoppedWithAllThatItStarted)
{
    const std::string mark = testing::TempDir() + "program-test." + std::to_string(getpid());
    const SProgramEnd end =
        CProgram({"/bin/sh", "-c", "(trap '' TERM; sleep 600; echo late > '" + mark + "') & sleep 600"})
            .within(std::chrono::seconds(0))
            .run();
    EXPECT_TRUE(end.timedOut);
    EXPECT_EQ(end.reason, "did not end within 0 s");
    EXPECT_FALSE(std::filesystem::exists(mark));
}

TEST(Program, KeepsTheBeginningOfLongErrors)
{
    const SProgramEnd end = shell("head -c 100000 /dev/zero | tr '\\0' e >&2; echo done");
    EXPECT_EQ(end.output, "done\n");
    EXPECT_EQ(end.errors, std::string(4096, 'e'));
}

}  // namespace
}  // namespace fictl
