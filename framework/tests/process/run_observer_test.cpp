// What an observer of runs may count on, and what a run may count on with one.
#include <gmock/gmock.h>

#include <map>
#include <set>
#include <stdexcept>

#include "framework/tests/process/run_fixture.h"

namespace {

using namespace obzx_pdk_4_4;
using obzx_test::SSeenRun;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RunObserver : public obzx_test::CRunTest
{
  protected:
    // Runs programs on a number of threads.
    template <class F>
    static void onThreads(int count, const F& piece)
    {
        std::vector<std::thread> threads;
        for (int t = 0; t < count; ++t) {
            threads.emplace_back(piece);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
};

TEST_F(RunObserver, HearsOfTheRunsOfEveryThreadOnThatThread)
{
    onThreads(8, [] {
        CFiExecPipePosix pipe(1);
        for (int i = 0; i < 5; ++i) {
            std::vector<std::string> lines;
            EXPECT_EQ(pipe.Exec(child("arguments a"), lines, "", 60, "", "", ""), EXEC_OK);
        }
    });
    std::map<uint64_t, std::vector<SSeenRun>> runs;
    std::map<std::thread::id, int> threads;
    for (const SSeenRun& record : seen()) {
        runs[record.number].push_back(record);
        ++threads[record.thread];
    }
    EXPECT_THAT(runs, SizeIs(40));
    for (const auto& [number, records] : runs) {
        ASSERT_THAT(records, SizeIs(2)) << number;
        EXPECT_EQ(records[0].phase, OBZX_RUN_STARTED);
        EXPECT_EQ(records[1].phase, OBZX_RUN_ENDED);
        EXPECT_EQ(records[0].process, records[1].process);
        EXPECT_EQ(records[0].thread, records[1].thread);
        EXPECT_EQ(records[1].output, "[a]\n");
    }
    EXPECT_THAT(threads, SizeIs(8));
    for (const auto& [thread, calls] : threads) {
        EXPECT_EQ(calls, 10);
    }
}

TEST_F(RunObserver, ThatIsRemovedHearsNothingMore)
{
    obzx_set_run_observer(nullptr, this);
    EXPECT_EQ(run(child("exit 0")), EXEC_OK);
    EXPECT_THAT(seen(), IsEmpty());
}

struct SReplaced
{
    std::vector<int32_t> phases;
    std::vector<int32_t> laterPhases;
};

void rememberLater(void* context, const obzx_run* run)
{
    static_cast<SReplaced*>(context)->laterPhases.push_back(run->phase);
}

TEST_F(RunObserver, ThatIsReplacedDuringARunLeavesItsEndToNobody)
{
    SReplaced replaced;
    obzx_set_run_observer(
        [](void* context, const obzx_run* run) {
            static_cast<SReplaced*>(context)->phases.push_back(run->phase);
            obzx_set_run_observer(rememberLater, context);
        },
        &replaced);
    EXPECT_EQ(run(child("exit 0")), EXEC_OK);
    EXPECT_THAT(replaced.phases, ElementsAre(OBZX_RUN_STARTED));
    EXPECT_THAT(replaced.laterPhases, IsEmpty());
    EXPECT_EQ(run(child("exit 0")), EXEC_OK);
    EXPECT_THAT(replaced.laterPhases, ElementsAre(OBZX_RUN_STARTED, OBZX_RUN_ENDED));
}

TEST_F(RunObserver, HearsNothingOfARunThatBeganBefore)
{
    obzx_set_run_observer(nullptr, nullptr);
    const std::string go = root() + "/go";
    std::thread runner([&] {
        CFiExecPipePosix pipe(1);
        std::vector<std::string> lines;
        const std::string wait = "touch " + go + ".begun; until [ -e " + go + " ]; do sleep 0.01; done";
        EXPECT_EQ(pipe.Exec("/bin/sh -c \"" + wait + "\"", lines, "", 60, "", "", ""), EXEC_OK);
    });
    while (::access((go + ".begun").c_str(), F_OK) != 0) {
        ::usleep(1000);
    }
    observe();
    obzx_test::writeFile(go, "");
    runner.join();
    EXPECT_THAT(seen(), IsEmpty());
}

struct SSlow
{
    std::atomic<bool> running{false};
    std::atomic<bool> mayReturn{false};
    std::atomic<bool> left{false};
};

TEST_F(RunObserver, RemovalWaitsForTheCallThatRuns)
{
    SSlow slow;
    obzx_set_run_observer(
        [](void* context, const obzx_run* run) {
            auto* const state = static_cast<SSlow*>(context);
            if (run->phase != OBZX_RUN_STARTED || state->running.exchange(true)) return;
            while (!state->mayReturn) {
                std::this_thread::yield();
            }
            state->left = true;
        },
        &slow);
    std::thread runner([this] { EXPECT_EQ(run(child("exit 0")), EXEC_OK); });
    while (!slow.running) {
        std::this_thread::yield();
    }
    std::atomic<bool> removed{false};
    std::thread remover([&] {
        obzx_set_run_observer(nullptr, nullptr);
        EXPECT_TRUE(slow.left);
        removed = true;
    });
    CFiExecPipePosix other(1);
    std::vector<std::string> lines;
    EXPECT_EQ(other.Exec(child("exit 0"), lines, "", 60, "", "", ""), EXEC_OK) << "others go on";
    EXPECT_FALSE(removed);
    slow.mayReturn = true;
    runner.join();
    remover.join();
    EXPECT_TRUE(removed);
}

TEST_F(RunObserver, MayRemoveItselfInsideACallAlsoOnTwoThreads)
{
    std::atomic<int> calls{0};
    obzx_set_run_observer(
        [](void* context, const obzx_run*) {
            auto& count = *static_cast<std::atomic<int>*>(context);
            for (++count; count < 2;) {
                std::this_thread::yield();
            }
            obzx_set_run_observer(nullptr, nullptr);
        },
        &calls);
    onThreads(2, [] {
        CFiExecPipePosix pipe(1);
        std::vector<std::string> lines;
        EXPECT_EQ(pipe.Exec(child("exit 0"), lines, "", 60, "", "", ""), EXEC_OK);
    });
    EXPECT_EQ(calls, 2);
}

TEST_F(RunObserver, IsNotToldOfARunOfItsOwn)
{
    struct SRunning
    {
        CFiExecPipePosix pipe{1};
        int calls = 0;
        int result = -1;
    } running;
    obzx_set_run_observer(
        [](void* context, const obzx_run*) {
            auto* const state = static_cast<SRunning*>(context);
            ++state->calls;
            std::vector<std::string> lines;
            state->result = state->pipe.Exec(child("exit 0"), lines, "", 60, "", "", "");
        },
        &running);
    EXPECT_EQ(run(child("exit 0")), EXEC_OK);
    EXPECT_EQ(running.calls, 2);
    EXPECT_EQ(running.result, EXEC_OK);
}

TEST_F(RunObserver, ItsExceptionDoesNotDisturbTheRun)
{
    std::atomic<int> calls{0};
    obzx_set_run_observer(
        [](void* context, const obzx_run*) {
            ++*static_cast<std::atomic<int>*>(context);
            throw std::runtime_error("observer");
        },
        &calls);
    EXPECT_EQ(run(child("arguments a")), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("[a]"));
    EXPECT_EQ(run(child("exit 3")), EXEC_FAILED);
    EXPECT_EQ(calls, 4);
}

TEST_F(RunObserver, ThatIsSlowDoesNotMakeTheLimitLonger)
{
    std::string output;
    obzx_set_run_observer(
        [](void* context, const obzx_run* run) {
            if (run->phase == OBZX_RUN_STARTED) ::usleep(1100 * 1000);
            *static_cast<std::string*>(context) = run->output;
        },
        &output);
    EXPECT_EQ(run(child("hang"), "", 1), EXEC_TIMED_OUT);
    EXPECT_THAT(output, testing::MatchesRegex("[0-9]+\n")) << "what was there by then is read";
}

void countCall(void* context, const obzx_run*)
{
    ++*static_cast<std::atomic<int>*>(context);
}

TEST_F(RunObserver, CanBeChangedWhileProgramsRun)
{
    std::atomic<int> calls{0};
    std::atomic<int> left{4};
    std::thread changer([&] {
        while (left > 0) {
            obzx_set_run_observer(countCall, &calls);
            std::this_thread::yield();
            obzx_set_run_observer(nullptr, nullptr);
            const int before = calls;
            std::this_thread::yield();
            EXPECT_EQ(calls, before);
        }
    });
    onThreads(4, [&left] {
        CFiExecPipePosix pipe(1);
        std::vector<std::string> lines;
        for (int i = 0; i < 25; ++i) {
            EXPECT_EQ(pipe.Exec(child("exit 0"), lines, "", 60, "", "", ""), EXEC_OK);
        }
        --left;
    });
    changer.join();
}

}  // namespace
