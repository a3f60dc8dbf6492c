#include "host/src/runs/run_log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <latch>
#include <thread>

#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"
#include "framework/include/cfiexecpipe.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;

/// Runs programs the way a provider does.
class CRunLogTest : public testing::Test
{
  protected:
    void TearDown() override { CRunLog::setWatch({}); }

    /// Gives a script to the shell on its standard input.
    int shell(const std::string& script, unsigned long limit = 60) const
    {
        static std::atomic<int> number = 0;
        const std::string input = m_folder + "/script" + std::to_string(number++);
        base_test::writeFile(input, script);
        return run("/bin/sh", input, limit);
    }
    static int run(const std::string& commandLine, const std::string& input = {}, unsigned long limit = 60)
    {
        obzx_pdk_4_4::CFiExecPipePosix pipe(1);
        std::vector<std::string> lines;
        return pipe.Exec(commandLine, lines, input, limit, "", "", "");
    }

    const base_test::CTemporaryFolder m_temporary;
    const std::string m_folder = m_temporary.path();
};

}  // namespace

TEST_F(CRunLogTest, CancelsWhatStartsForALookThatIsGivenUp)
{
    CRunLog log;
    bool isGivenUp = false;
    {
        const CRunLog::CLooking looking(log, [&isGivenUp] { return isGivenUp; });
        EXPECT_EQ(shell("exit 0\n"), obzx_pdk_4_4::EXEC_OK);
        isGivenUp = true;
        EXPECT_EQ(shell("sleep 60\n"), obzx_pdk_4_4::EXEC_TIMED_OUT);
    }
    EXPECT_EQ(shell("exit 0\n"), obzx_pdk_4_4::EXEC_OK);
    const SRuns taken = log.take();
    ASSERT_EQ(taken.runs.size(), 3U);
    EXPECT_EQ(taken.runs[1].stopped, EStop::CANCEL);
}

TEST_F(CRunLogTest, KeepsWhatTheRuntimeTellsOfARun)
{
    CRunLog log;
    shell("echo to the\necho reader; exit 3\n");
    const SRuns taken = log.take();
    ASSERT_EQ(taken.runs.size(), 1U);
    EXPECT_EQ(taken.lost, 0U);
    const SRunRecord& run = taken.runs[0];
    EXPECT_GT(run.number, 0U);
    EXPECT_EQ(run.entryPoint, "");
    EXPECT_EQ(run.arguments, std::vector<std::string>{"/bin/sh"});
    EXPECT_EQ(run.program(), "sh");
    EXPECT_EQ(run.input, "echo to the\necho reader; exit 3\n");
    EXPECT_TRUE(run.isInputWhole());
    EXPECT_GT(run.process, 0);
    EXPECT_GT(run.startSeconds, 1700000000);
    EXPECT_EQ(run.limitSeconds, 60U);
    EXPECT_EQ(run.result, 11);
    EXPECT_EQ(run.exitStatus, 3);
    EXPECT_EQ(run.signal, 0);
    EXPECT_EQ(run.error, 0);
    EXPECT_EQ(run.stopped, EStop::NOT_STOPPED);
    EXPECT_TRUE(run.endedByItself());
    EXPECT_GT(run.seconds(), 0);
    EXPECT_EQ(run.output, "to the\nreader\n");
    EXPECT_TRUE(run.isOutputWhole());
}

TEST_F(CRunLogTest, TellsAKilledProgramFromOneThatCouldNotBeStarted)
{
    CRunLog log;
    shell("kill -KILL $$\n");
    run(m_folder + "/nosuch");
    const SRuns taken = log.take();
    ASSERT_EQ(taken.runs.size(), 2U);
    EXPECT_EQ(taken.runs[0].signal, SIGKILL);
    EXPECT_FALSE(taken.runs[0].endedByItself());
    EXPECT_EQ(taken.runs[1].process, 0);
    EXPECT_EQ(taken.runs[1].error, ENOENT);
    EXPECT_FALSE(taken.runs[1].endedByItself());
    EXPECT_EQ(taken.runs[1].program(), "nosuch");
}

TEST_F(CRunLogTest, TellsATimeOutFromACancelledRun)
{
    CRunLog log;
    shell("exec sleep 1000\n", 1);
    CRunLog::setWatch({[](const SRunRecord&) { obzx_cancel_runs(); }, {}});
    shell("exec sleep 1000\n");
    const SRuns taken = log.take();
    ASSERT_EQ(taken.runs.size(), 2U);
    EXPECT_EQ(taken.runs[0].stopped, EStop::LIMIT);
    EXPECT_EQ(taken.runs[0].limitSeconds, 1U);
    EXPECT_EQ(taken.runs[1].stopped, EStop::CANCEL);
}

TEST_F(CRunLogTest, KeepsNoOutputOfARunThatSucceeded)
{
    CRunLog log;
    shell("echo a listing\n");
    const SRuns taken = log.take();
    ASSERT_EQ(taken.runs.size(), 1U);
    EXPECT_EQ(taken.runs[0].output, "");
    EXPECT_EQ(taken.runs[0].outputSize, 10U);
    EXPECT_FALSE(taken.runs[0].isOutputWhole());
}

TEST_F(CRunLogTest, HandsEachRunOutOnceAndCountsThemAll)
{
    CRunLog log;
    shell("exit 1\n");
    EXPECT_EQ(log.take().runs.size(), 1U);
    EXPECT_TRUE(log.take().runs.empty());
    shell("exit 1\n");
    log.forget();
    EXPECT_TRUE(log.take().runs.empty());
    EXPECT_EQ(log.count(), 2U);
}

TEST_F(CRunLogTest, KeepsTheFirstRunsAndRoomForFailures)
{
    CRunLog log;
    for (int i = 0; i < 1005; ++i) {
        run("/bin/true");
    }
    shell("exit 9\n");
    const SRuns taken = log.take();
    EXPECT_EQ(taken.lost, 5U);
    ASSERT_EQ(taken.runs.size(), 1001U);
    EXPECT_EQ(taken.runs.back().exitStatus, 9);
    EXPECT_EQ(log.count(), 1006U);
}

TEST_F(CRunLogTest, LongAnswersOfFailuresAreKeptUpToABound)
{
    CRunLog log;
    for (int i = 0; i < 18; ++i) {
        shell("head -c 2000000 /dev/zero; exit 1\n");
    }
    const SRuns taken = log.take();
    EXPECT_EQ(taken.runs.size() + taken.lost, 18U);
    EXPECT_EQ(taken.lost, 3U);
    EXPECT_EQ(taken.runs[0].output.size(), 1048576U);
    EXPECT_EQ(taken.runs[0].outputSize, 2000000U);
    EXPECT_FALSE(taken.runs[0].isOutputWhole());
}

TEST_F(CRunLogTest, ObservesRunsOfEveryThread)
{
    CRunLog log;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int j = 0; j < 5; ++j) {
                shell("exit 2\n");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(log.take().runs.size(), 20U);
}

TEST_F(CRunLogTest, EachPieceOfWorkHasItsOwnRunsAndMessages)
{
    CRunLog log;
    std::latch allAreApart(3);
    std::latch allAreJudged(3);
    std::vector<std::thread> threads;
    for (const int status : {3, 4}) {
        threads.emplace_back([this, &log, &allAreApart, &allAreJudged, status] {
            const CRunLog::CApart apart(log);
            allAreApart.arrive_and_wait();
            shell("exit " + std::to_string(status) + "\n");
            log.say("said " + std::to_string(status));
            const SRuns taken = log.take();
            ASSERT_EQ(taken.runs.size(), 1U);
            EXPECT_EQ(taken.runs[0].exitStatus, status);
            EXPECT_EQ(taken.messages, std::vector<std::string>{"said " + std::to_string(status)});
            EXPECT_TRUE(log.take().runs.empty());
            allAreJudged.arrive_and_wait();
        });
    }
    allAreApart.arrive_and_wait();
    shell("exit 5\n");
    allAreJudged.arrive_and_wait();
    for (std::thread& thread : threads) {
        thread.join();
    }
    const SRuns rest = log.take();
    ASSERT_EQ(rest.runs.size(), 1U) << "of no piece of work";
    EXPECT_EQ(rest.runs[0].exitStatus, 5);
    EXPECT_EQ(log.count(), 3U);
}

TEST_F(CRunLogTest, WhatAnotherThreadRunsBelongsToTheOnlyPieceOfWork)
{
    CRunLog log;
    shell("exit 1\n");
    {
        const CRunLog::CApart apart(log);
        std::thread([this] { shell("exit 2\n"); }).join();
        const SRuns taken = log.take();
        ASSERT_EQ(taken.runs.size(), 1U);
        EXPECT_EQ(taken.runs[0].exitStatus, 2);
    }
    EXPECT_EQ(log.take().runs.size(), 1U) << "what ran before it";
}

TEST_F(CRunLogTest, TheWatchSeesEveryStartAndEnd)
{
    std::vector<std::string> seen;
    CRunLog::setWatch({[&seen](const SRunRecord& run) { seen.push_back("start " + std::to_string(run.process)); },
                       [&seen](const SRunRecord& run) { seen.push_back("end " + std::to_string(run.process)); }});
    CRunLog log;
    shell("exit 1\n");
    run(m_folder + "/nosuch");
    const SRuns taken = log.take();
    ASSERT_EQ(taken.runs.size(), 2U);
    const std::string process = std::to_string(taken.runs[0].process);
    EXPECT_EQ(seen, (std::vector<std::string>{"start " + process, "end " + process, "end 0"}));
}

TEST_F(CRunLogTest, OneLogAfterAnother)
{
    {
        CRunLog first;
        shell("exit 1\n");
    }
    shell("exit 1\n");
    CRunLog second;
    EXPECT_TRUE(second.take().runs.empty());
    shell("exit 1\n");
    EXPECT_EQ(second.take().runs.size(), 1U);
}

TEST(RunRecord, HasATextThatIsNotThere)
{
    obzx_run run{};
    run.size = sizeof run;
    run.input_size = 7;
    run.result = 12;
    run.stopped = 99;
    const SRunRecord record = runRecordOf(run);
    EXPECT_EQ(record.program(), "");
    EXPECT_FALSE(record.isInputWhole());
    EXPECT_EQ(record.stopped, EStop::CANCEL);
}

}  // namespace fictl
