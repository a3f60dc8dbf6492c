#include "base/process_stat.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

using base::readProcessStat;

TEST(ProcessStat, TellsTheStartOfAProcess)
{
    const auto first = readProcessStat(::getpid());
    ASSERT_TRUE(first);
    EXPECT_FALSE(first->isGone());
    EXPECT_GT(first->startTime, 0U);
    EXPECT_EQ(readProcessStat(::getpid())->startTime, first->startTime);
}

TEST(ProcessStat, AProgramNameMayHoldBlanksAndParentheses)
{
    char before[16] = {};
    ASSERT_EQ(::prctl(PR_GET_NAME, before), 0);
    const auto start = readProcessStat(::getpid())->startTime;
    ASSERT_EQ(::prctl(PR_SET_NAME, "a) Z 1 (b"), 0);
    const auto stat = readProcessStat(::getpid());
    ::prctl(PR_SET_NAME, before);
    ASSERT_TRUE(stat);
    EXPECT_FALSE(stat->isGone());
    EXPECT_EQ(stat->startTime, start);
}

TEST(ProcessStat, OneThatIsDeadOrWasNeverThereIsGone)
{
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    siginfo_t info = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(readProcessStat(child)->state, 'Z');
    EXPECT_TRUE(readProcessStat(child)->isGone());
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    ASSERT_TRUE(readProcessStat(child));
    EXPECT_TRUE(readProcessStat(child)->isGone());
}

TEST(ProcessStat, NoProcessHasAnIdBelowOne)
{
    EXPECT_FALSE(readProcessStat(0));
    EXPECT_FALSE(readProcessStat(-1));
}

TEST(ProcessStat, ThisStartOfTheMachineHasANameOfOneLine)
{
    EXPECT_EQ(base::bootId().size(), 36U);
    EXPECT_EQ(base::bootId().find('\n'), std::string::npos);
    EXPECT_EQ(base::pidNamespace().substr(0, 5), "pid:[");
}

TEST(ProcessStat, ThisProgramIsTheOneThatRuns)
{
    EXPECT_EQ(base::thisProgram().filename(), "base_tests");
}
