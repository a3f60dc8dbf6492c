#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "framework/include/obzx_runtime.h"
#include "framework/tests/support/scratch.h"

namespace {

using namespace obzx_pdk_4_4;
using testing::ElementsAre;
using testing::IsEmpty;

struct SSeen
{
    std::vector<std::string> lines;
    std::vector<std::thread::id> threads;
};

void remember(void* user, int32_t level, const char* component, const char* text)
{
    auto* seen = static_cast<SSeen*>(user);
    seen->lines.push_back("L" + std::to_string(level) + " " + component + " " + text);
    seen->threads.push_back(std::this_thread::get_id());
}

class TraceObserver : public obzx_test::CScratch
{
  protected:
    ~TraceObserver() override { obzx_set_trace_observer(nullptr, nullptr, 0); }
    SSeen m_seen;
};

TEST_F(TraceObserver, HasALevelOfItsOwn)
{
    const CFiTraceLogPtr log = makeLog();
    obzx_set_trace_observer(remember, &m_seen, 3);
    EXPECT_TRUE(log->isEnabled(3));
    EXPECT_FALSE(log->isEnabled(4));
    log->trace(3, "info %d", 1);
    log->trace(4, "lost");
    log->trace(1, "failure");
    EXPECT_THAT(m_seen.lines, ElementsAre("L3 unit info 1", "L1 unit failure"));
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit failure"));
}

TEST_F(TraceObserver, LowerLevelThanTheFilesFiltersToo)
{
    ::setenv("OBZX_TRACE_LEVEL", "6", 1);
    const CFiTraceLogPtr log = makeLog();
    obzx_set_trace_observer(remember, &m_seen, 1);
    log->trace(2, "file only");
    log->trace(1, "both");
    EXPECT_THAT(m_seen.lines, ElementsAre("L1 unit both"));
    EXPECT_THAT(traceLines(), ElementsAre("L2 unit file only", "L1 unit both"));
}

TEST_F(TraceObserver, SeesEveryLogOnTheThreadThatWrites)
{
    const CFiTraceLogPtr log = makeLog();
    CFiTraceLogPtr other(true);
    other->initialize("other", "", "", 1, false);
    obzx_set_trace_observer(remember, &m_seen, 2);
    std::thread writer([&] {
        log->trace(1, "a");
        other->trace(1, "b");
    });
    const std::thread::id id = writer.get_id();
    writer.join();
    EXPECT_THAT(m_seen.lines, ElementsAre("L1 unit a", "L1 other b"));
    EXPECT_THAT(m_seen.threads, ElementsAre(id, id));
}

TEST_F(TraceObserver, LogThatIsNotInitialisedIsNotSeen)
{
    CFiTraceLogPtr log(true);
    obzx_set_trace_observer(remember, &m_seen, 6);
    log->trace(1, "lost");
    EXPECT_THAT(m_seen.lines, IsEmpty());
}

TEST_F(TraceObserver, SeesLinesThatTheFileCannotTake)
{
    obzx_test::writeFile(root() + "/var", "");
    const CFiTraceLogPtr log = makeLog();
    obzx_set_trace_observer(remember, &m_seen, 6);
    log->trace(1, "seen");
    EXPECT_THAT(m_seen.lines, ElementsAre("L1 unit seen"));
}

TEST_F(TraceObserver, OneReplacesTheOther)
{
    const CFiTraceLogPtr log = makeLog();
    SSeen second;
    obzx_set_trace_observer(remember, &m_seen, 6);
    obzx_set_trace_observer(remember, &second, 2);
    log->trace(1, "x");
    EXPECT_FALSE(log->isEnabled(6));
    EXPECT_THAT(m_seen.lines, IsEmpty());
    EXPECT_THAT(second.lines, ElementsAre("L1 unit x"));
    obzx_set_trace_observer(nullptr, nullptr, 6);
    EXPECT_FALSE(log->isEnabled(3));
    log->trace(1, "y");
    EXPECT_EQ(second.lines.size(), 1u);
}

struct SSlow
{
    std::atomic<bool> running{false};
    std::atomic<bool> mayReturn{false};
    std::atomic<bool> left{false};
};

TEST_F(TraceObserver, RemovalWaitsForTheCallThatRuns)
{
    const CFiTraceLogPtr log = makeLog();
    SSlow slow;
    obzx_set_trace_observer(
        [](void* user, int32_t, const char*, const char*) {
            auto* state = static_cast<SSlow*>(user);
            state->running = true;
            while (!state->mayReturn) {
                std::this_thread::yield();
            }
            state->left = true;
        },
        &slow, 6);
    std::thread writer([&log] { log->trace(1, "x"); });
    while (!slow.running) {
        std::this_thread::yield();
    }
    std::atomic<bool> removed{false};
    std::thread remover([&] {
        obzx_set_trace_observer(nullptr, nullptr, 0);
        EXPECT_TRUE(slow.left);
        removed = true;
    });
    while (log->isEnabled(6)) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(removed);
    slow.mayReturn = true;
    writer.join();
    remover.join();
    EXPECT_TRUE(removed);
}

struct SNested
{
    CFiTraceLogPtr log;
    int calls = 0;
};

TEST_F(TraceObserver, MayTraceAndRemoveItselfInsideACall)
{
    SNested nested{makeLog()};
    obzx_set_trace_observer(
        [](void* user, int32_t, const char*, const char*) {
            auto* state = static_cast<SNested*>(user);
            ++state->calls;
            state->log->trace(1, "from inside");
            obzx_set_trace_observer(nullptr, nullptr, 0);
        },
        &nested, 6);
    nested.log->trace(1, "outer");
    nested.log->trace(1, "after");
    EXPECT_EQ(nested.calls, 1);
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit outer", "L1 unit from inside", "L1 unit after"));
}

TEST_F(TraceObserver, ItsExceptionDoesNotReachTheProvider)
{
    const CFiTraceLogPtr log = makeLog();
    obzx_set_trace_observer([](void*, int32_t, const char*, const char*) { throw std::runtime_error("observer"); },
                            nullptr, 6);
    EXPECT_NO_THROW(log->trace(1, "x"));
    EXPECT_NO_THROW(log->trace(1, "y"));
}

void countCall(void* user, int32_t, const char*, const char*)
{
    static_cast<std::atomic<int>*>(user)->fetch_add(1);
}

TEST_F(TraceObserver, CanBeChangedWhileThreadsWrite)
{
    const CFiTraceLogPtr log = makeLog();
    std::atomic<int> calls{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&log] {
            for (int i = 0; i < 500; ++i) {
                log->trace(5, "x");
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        obzx_set_trace_observer(countCall, &calls, 6);
        obzx_set_trace_observer(nullptr, nullptr, 0);
        const int before = calls;
        std::this_thread::yield();
        EXPECT_EQ(calls, before);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
