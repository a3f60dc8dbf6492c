#include "base/side_by_side.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <latch>
#include <set>
#include <stdexcept>
#include <string>

#include "base/helper_thread.h"
#include "base/tests/no_threads.h"

namespace {

using base::CSideBySide;
using base::runSideBySide;
using Tasks = std::vector<CSideBySide::Task>;

/// How many tasks are at work, and how many were so at most.
class CAtWork
{
  public:
    void begin()
    {
        int count = ++m_now;
        for (int seen = m_most; count > seen && !m_most.compare_exchange_weak(seen, count);) {
        }
    }
    void end() { --m_now; }
    int most() const { return m_most; }

  private:
    std::atomic<int> m_now{0};
    std::atomic<int> m_most{0};
};

TEST(SideBySide, TasksOverlapUpToTheirBound)
{
    CAtWork atWork;
    std::latch four(4);
    const auto task = [&] {
        atWork.begin();
        // Would wait for ever if one had to end before another begins.
        four.count_down();
        four.wait();
        atWork.end();
    };
    Tasks tasks(4, task);
    const auto brief = [&] {
        atWork.begin();
        atWork.end();
    };
    tasks.resize(100, brief);
    runSideBySide(tasks, 4);
    EXPECT_EQ(atWork.most(), 4);
}

TEST(SideBySide, OneAtOnceIsDoneInOrderOnTheCallingThread)
{
    std::string done;
    std::set<std::thread::id> threads;
    for (const size_t atOnce : {size_t{0}, size_t{1}}) {
        Tasks tasks;
        for (const char name : {'a', 'b', 'c'}) {
            tasks.emplace_back([&, name] {
                done += name;
                threads.insert(std::this_thread::get_id());
            });
        }
        runSideBySide(std::move(tasks), atOnce);
    }
    EXPECT_EQ(done, "abcabc");
    EXPECT_EQ(threads, std::set{std::this_thread::get_id()});
    runSideBySide({}, 8);
}

TEST(SideBySide, ATaskMayAddTasksThatOverlapToo)
{
    std::latch three(3);
    std::atomic<int> ended{0};
    CSideBySide all(3);
    const auto meet = [&] {
        three.count_down();
        three.wait();
        ++ended;
    };
    all.add([&] {
        all.add(meet);
        all.add(meet);
        meet();
    });
    all.run();
    EXPECT_EQ(ended, 3);
}

TEST(SideBySide, TheFailureOfTheFirstTaskIsToldWhenAllHaveEnded)
{
    std::atomic<int> ended{0};
    std::latch secondFailed(1);
    const auto good = [&] { ++ended; };
    const auto first = [&] {
        secondFailed.wait();
        throw std::runtime_error("first");
    };
    const auto second = [&] {
        secondFailed.count_down();
        throw std::runtime_error("second");
    };
    try {
        runSideBySide({good, first, second, good, good}, 2);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
    EXPECT_EQ(ended, 3);
}

TEST(SideBySide, WithoutThreadsTheCallingOneDoesEverything)
{
    const base_test::CNoThreads noThreads;
    ASSERT_FALSE(base::startHelperThread([] {}).joinable());
    std::set<std::thread::id> threads;
    runSideBySide(Tasks(5, [&] { threads.insert(std::this_thread::get_id()); }), 8);
    EXPECT_EQ(threads, std::set{std::this_thread::get_id()});
}

TEST(SideBySide, HelpersTakeNoSignals)
{
    const std::thread::id caller = std::this_thread::get_id();
    std::latch both(2);
    std::atomic<int> helpers{0};
    const auto task = [&] {
        both.count_down();
        both.wait();
        if (std::this_thread::get_id() == caller) return;
        ++helpers;
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
            EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
        }
    };
    runSideBySide({task, task}, 2);
    EXPECT_EQ(helpers, 1);
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);
}

}  // namespace
