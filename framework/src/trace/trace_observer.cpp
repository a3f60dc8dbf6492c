#include "framework/src/trace/trace_observer.h"

#include <condition_variable>
#include <memory>
#include <mutex>

#include "framework/include/cfitrace.h"
#include "framework/include/obzx_runtime.h"

namespace obzx_pdk_4_4 {

/// The observer that is set now, and how many of its calls are running.
struct CFiTraceObserver
{
    obzx_trace_observer function;
    void* user;
    int32_t level;
    int running = 0;

    static void setLevel(int32_t level) { CFiTraceLog::g_observerLevel.store(level, std::memory_order_relaxed); }
    static constexpr int32_t NO_LEVEL = CFiTraceLog::NO_LEVEL;
};

std::atomic<int32_t> CFiTraceLog::g_observerLevel{CFiTraceLog::NO_LEVEL};

namespace {

std::mutex g_mutex;
std::condition_variable g_callEnded;
std::shared_ptr<CFiTraceObserver> g_observer;

// An observer that causes a trace line must not be called for it, and one that takes itself away must not wait for
// itself.
thread_local bool g_observing = false;

std::shared_ptr<CFiTraceObserver> beginCall(int32_t level)
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    if (g_observer == nullptr || level > g_observer->level) return nullptr;
    ++g_observer->running;
    return g_observer;
}

void endCall(CFiTraceObserver& observer)
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    if (--observer.running == 0) g_callEnded.notify_all();
}

}  // namespace

void observeTrace(int32_t level, const std::string& component, const std::string& text)
{
    if (g_observing) return;
    const std::shared_ptr<CFiTraceObserver> observer = beginCall(level);
    if (observer == nullptr) return;
    g_observing = true;
    try {
        observer->function(observer->user, level, component.c_str(), text.c_str());
    } catch (...) {
        // The observer's own failure; tracing goes on.
    }
    g_observing = false;
    endCall(*observer);
}

void setTraceObserver(obzx_trace_observer observer, void* user, int32_t level)
{
    std::shared_ptr<CFiTraceObserver> next;
    try {
        if (observer != nullptr) next.reset(new CFiTraceObserver{observer, user, level});
    } catch (...) {
        return;  // no memory: the observer that is set stays
    }
    std::unique_lock<std::mutex> guard(g_mutex);
    g_observer.swap(next);
    CFiTraceObserver::setLevel(observer == nullptr ? CFiTraceObserver::NO_LEVEL : level);
    if (next == nullptr || g_observing) return;
    g_callEnded.wait(guard, [&next] { return next->running == 0; });
}

}  // namespace obzx_pdk_4_4
