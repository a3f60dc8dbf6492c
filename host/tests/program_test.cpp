#include "host/src/guardian/program.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "base/tests/stalled_program.h"
#include "base/tests/temporary_folder.h"

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

TEST(Program, TimeThatItNeedsToBeOpenedCountsAgainstItsLimit)
{
    const base_test::CTemporaryFolder folder;
    const base_test::CStalledProgram stalled(folder / "program");
    const SProgramEnd end = CProgram({folder / "program"}).within(std::chrono::seconds(1)).run();
    EXPECT_FALSE(end.started);
    EXPECT_TRUE(end.timedOut);
    EXPECT_EQ(end.reason, "did not end within 1 s");
}

TEST(Program, IsNotOpenedToTheEndOnceNobodyWaitsForIt)
{
    const base_test::CTemporaryFolder folder;
    const base_test::CStalledProgram stalled(folder / "program");
    std::stop_source unwanted;
    unwanted.request_stop();
    const SProgramEnd end = CProgram({folder / "program"}).stoppingWith(unwanted.get_token()).run();
    EXPECT_FALSE(end.started);
    EXPECT_TRUE(end.stopped);
    EXPECT_EQ(end.reason, "was stopped by a signal");
}

TEST(Program, MayWriteAsMuchAsItsLimit)
{
    const auto write = [](const char* script) { return CProgram({"/bin/sh", "-c", script}).writingAtMost(1000).run(); };
    const SProgramEnd just = write("head -c 1000 /dev/zero");
    EXPECT_EQ(just.reason, "");
    EXPECT_EQ(just.output.size(), 1000U);
    for (const char* const script : {"head -c 1001 /dev/zero", "yes"}) {
        const SProgramEnd past = write(script);
        EXPECT_TRUE(past.tooLong) << script;
        EXPECT_EQ(past.reason, "wrote more than 1000 bytes") << script;
    }
}

TEST(Program, KeepsTheBeginningOfLongErrors)
{
    const SProgramEnd end = shell("head -c 100000 /dev/zero | tr '\\0' e >&2; echo done");
    EXPECT_EQ(end.output, "done\n");
    EXPECT_EQ(end.errors, std::string(4096, 'e'));
}

}  // namespace
}  // namespace fictl
