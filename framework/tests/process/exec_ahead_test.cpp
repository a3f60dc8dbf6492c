// Programs that are begun ahead of the one whose answer is waited for.
#include "framework/include/cfiexecahead.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <memory>

#include "base/tests/no_descriptor_left.h"
#include "base/tests/process_end.h"
#include "base/tests/stalled_program.h"
#include "framework/tests/process/run_fixture.h"

namespace {

using namespace obzx_pdk_4_4;
using base_test::CNoDescriptorLeft;
using base_test::isCollected;
using obzx_test::SSeenRun;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ExecAhead : public obzx_test::CRunTest
{
  protected:
    static constexpr unsigned long MINUTE = 60;

    /// Begins what a shell runs.
    size_t begin(const std::string& script, unsigned long timeout = MINUTE)
    {
        const std::optional<size_t> run = m_ahead->begin("/bin/sh -c \"" + script + "\"", "", timeout);
        EXPECT_TRUE(run);
        return run.value_or(0);
    }
    int take(size_t run)
    {
        CFiOutputText text;
        const int result = m_pipe.Exec(*m_ahead, run, text);
        m_lines.clear();
        text.appendLinesTo(m_lines);
        return result;
    }
    /// A FIFO through which programs of a test wait for each other.
    std::string fifo(const std::string& name) const
    {
        const std::string path = root() + "/" + name;
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    }
    std::vector<int32_t> stopsOfEnds() const
    {
        std::vector<int32_t> stops;
        for (const SSeenRun& end : ends()) {
            stops.push_back(end.stopped);
        }
        return stops;
    }

    std::unique_ptr<CFiExecAhead> m_ahead = std::make_unique<CFiExecAhead>();
};

TEST_F(ExecAhead, AnswersAreThoseOfRunsOneAfterTheOther)
{
    const size_t good = begin("echo one; echo two");
    const size_t bad = begin("echo three; exit 3");
    EXPECT_EQ(take(good), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("one", "two"));
    EXPECT_EQ(take(bad), EXEC_FAILED);
    EXPECT_THAT(m_lines, ElementsAre("three"));
    EXPECT_EQ(m_pipe.getError().code, 3);
    EXPECT_EQ(m_pipe.getError().message, "Command [/bin/sh -c \"echo three; exit 3\"] exited with status 3");
}

TEST_F(ExecAhead, ProgramsAreUnderWayAtTheSameTime)
{
    // Each waits for the other: one after the other, none would end.
    const std::string there = fifo("there");
    const std::string back = fifo("back");
    const size_t first = begin("echo a > " + there + "; cat " + back);
    const size_t second = begin("cat " + there + "; echo b > " + back);
    EXPECT_EQ(m_ahead->countRunning(), 2u);
    EXPECT_EQ(take(first), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("b"));
    EXPECT_EQ(take(second), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("a"));
    EXPECT_EQ(m_ahead->countRunning(), 0u);
}

TEST_F(ExecAhead, AnswersMayBeTakenInAnyOrder)
{
    const std::string gate = fifo("gate");
    const size_t late = begin("cat " + gate);
    const size_t early = begin("echo early > " + gate + "; echo done");
    EXPECT_EQ(take(early), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("done"));
    EXPECT_EQ(take(late), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("early"));
}

TEST_F(ExecAhead, EndIsToldWhenTheAnswerIsTakenWithTheTimeOfTheProgram)
{
    const size_t first = begin("exit 1");
    const size_t second = begin("exit 2");
    EXPECT_THAT(seen(), SizeIs(2));
    take(second);
    EXPECT_THAT(ends(), SizeIs(1));
    ::usleep(20'000);
    take(first);
    ASSERT_THAT(ends(), SizeIs(2));
    EXPECT_EQ(ends()[0].exitStatus, 2);
    EXPECT_EQ(ends()[1].exitStatus, 1);
    EXPECT_EQ(ends()[1].number + 1, ends()[0].number);
}

TEST_F(ExecAhead, TimeLimitHoldsForEachByItself)
{
    const size_t hung = begin("exec sleep 1000", 1);
    const size_t good = begin("echo fine");
    EXPECT_EQ(take(hung), EXEC_TIMED_OUT);
    EXPECT_EQ(m_pipe.getError().message,
              "Command [/bin/sh -c \"exec sleep 1000\"] did not end within 1 seconds and was stopped");
    EXPECT_EQ(take(good), EXEC_OK);
    EXPECT_THAT(stopsOfEnds(), ElementsAre(OBZX_RUN_STOPPED_BY_LIMIT, OBZX_RUN_NOT_STOPPED));
}

TEST_F(ExecAhead, WhatIsNotTakenIsStoppedWithTheObjectAndToldAsUnused)
{
    begin("exec sleep 1000");
    const size_t ended = begin("exit 7");
    while (!m_ahead->hasEnded(ended)) {
        m_ahead->waitForOne(std::nullopt);
    }
    EXPECT_THAT(ends(), IsEmpty());
    m_ahead.reset();
    EXPECT_THAT(stopsOfEnds(), ElementsAre(OBZX_RUN_UNUSED, OBZX_RUN_UNUSED));
    EXPECT_EQ(ends()[0].result, EXEC_TIMED_OUT);
    EXPECT_EQ(ends()[1].result, EXEC_TIMED_OUT) << "its failure is nobody's";
    EXPECT_TRUE(isCollected(static_cast<pid_t>(ends()[0].process)));
    EXPECT_TRUE(isCollected(static_cast<pid_t>(ends()[1].process)));
}

TEST_F(ExecAhead, DroppedRunIsStoppedWhileOthersGoOn)
{
    const size_t unwanted = begin("exec sleep 1000");
    const size_t wanted = begin("echo wanted");
    m_ahead->drop(unwanted);
    EXPECT_EQ(take(wanted), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("wanted"));
    while (m_ahead->countRunning() > 0) {
        m_ahead->waitForOne(std::nullopt);
    }
    m_ahead.reset();
    EXPECT_THAT(stopsOfEnds(), testing::UnorderedElementsAre(OBZX_RUN_NOT_STOPPED, OBZX_RUN_UNUSED));
}

TEST_F(ExecAhead, CancellationReachesAllOfThem)
{
    const size_t first = begin("exec sleep 1000");
    const size_t second = begin("exec sleep 1000");
    obzx_cancel_runs();
    EXPECT_EQ(take(first), EXEC_TIMED_OUT);
    EXPECT_EQ(take(second), EXEC_TIMED_OUT);
    EXPECT_THAT(stopsOfEnds(), ElementsAre(OBZX_RUN_STOPPED_BY_CANCEL, OBZX_RUN_STOPPED_BY_CANCEL));
}

TEST_F(ExecAhead, LongAnswerIsNotReadBeforeItIsTaken)
{
    const std::string gate = fifo("gate");
    const size_t first = begin("cat " + gate);
    const auto flood = m_ahead->begin(child("flood 40"), "", MINUTE);
    ASSERT_TRUE(flood);
    const size_t opener = begin("sleep 0.3; echo open > " + gate);
    EXPECT_EQ(take(first), EXEC_OK);
    EXPECT_FALSE(m_ahead->hasEnded(*flood));
    EXPECT_LT(m_ahead->countBytes(), size_t{17} * 1024 * 1024);
    EXPECT_EQ(take(opener), EXEC_OK);
    CFiOutputText text;
    EXPECT_EQ(m_pipe.Exec(*m_ahead, *flood, text), EXEC_OK);
    EXPECT_EQ(text.size(), size_t{40} * 1024 * 1024);
}

TEST_F(ExecAhead, ProgramThatIsNotThereIsNotBegunAndToldToNobody)
{
    EXPECT_FALSE(m_ahead->begin(root() + "/nothing", "", MINUTE));
    EXPECT_FALSE(m_ahead->begin("\"", "", MINUTE));
    EXPECT_FALSE(m_ahead->begin(child("exit 0"), root() + "/no input", MINUTE));
    EXPECT_EQ(m_ahead->countRunning(), 0u);
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(ExecAhead, ProgramThatStallsBeforeItRunsIsGivenUpOnceAndNotBegunAgain)
{
    const std::string program = root() + "/stalled";
    const base_test::CStalledProgram stalled(program);
    const auto run = m_ahead->begin(program, "", 1);
    ASSERT_TRUE(run);
    EXPECT_TRUE(m_ahead->hasEnded(*run));
    EXPECT_FALSE(m_ahead->hasSucceeded(*run));
    EXPECT_EQ(take(*run), EXEC_TIMED_OUT);
    EXPECT_EQ(message(), "Command [" + program + "] did not end within 1 seconds and was stopped");
    EXPECT_THAT(stopsOfEnds(), ElementsAre(OBZX_RUN_STOPPED_BY_LIMIT));
}

TEST_F(ExecAhead, AnswerOfADroppedRunIsNotKept)
{
    const size_t unwanted = begin("echo text; exec sleep 1000");
    while (m_ahead->countBytes() == 0) {
        const size_t other = begin("exit 0");
        EXPECT_EQ(take(other), EXEC_OK);
    }
    m_ahead->drop(unwanted);
    while (m_ahead->countRunning() > 0) {
        m_ahead->waitForOne(std::nullopt);
    }
    EXPECT_EQ(m_ahead->countBytes(), 0u);
    EXPECT_THAT(stopsOfEnds(), testing::Contains(OBZX_RUN_UNUSED));
}

TEST_F(ExecAhead, RunThatTheObserverCancelsEndsAndNoOther)
{
    obzx_set_run_observer(
        [](void*, const obzx_run* run) {
            if (run->phase == OBZX_RUN_STARTED && std::string(run->arguments[2]) == "exec sleep 1000") {
                obzx_cancel_observed_run();
            }
        },
        nullptr);
    const size_t unwanted = begin("exec sleep 1000");
    const size_t wanted = begin("echo wanted");
    EXPECT_EQ(take(wanted), EXEC_OK);
    EXPECT_EQ(take(unwanted), EXEC_TIMED_OUT);
    EXPECT_EQ(m_pipe.getError().code, ECANCELED);
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(ExecAhead, WithoutADescriptorNothingIsBegun)
{
    const CNoDescriptorLeft limit;
    EXPECT_FALSE(m_ahead->begin(child("exit 0"), "", MINUTE));
}
#endif

}  // namespace
