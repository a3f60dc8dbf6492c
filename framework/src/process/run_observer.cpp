#include "framework/src/process/run_observer.h"

#include <condition_variable>
#include <mutex>

namespace obzx_pdk_4_4 {

std::atomic<uint64_t> CRunObserver::g_current{CRunObserver::NONE};

namespace {

/// A call that is running; lies on the stack of its thread.
struct SCall
{
    uint64_t observer;
    SCall* next;
};

std::mutex g_mutex;  // guards all below
std::condition_variable g_callEnded;
obzx_run_observer g_function = nullptr;
void* g_context = nullptr;
uint64_t g_lastSet = CRunObserver::NONE;
SCall* g_calls = nullptr;

// A run of the observer's own must not be told to it, and one that takes itself away must not wait for itself.
thread_local bool g_observing = false;
thread_local bool g_isCancelAsked = false;

bool isRunning(uint64_t observer)
{
    const SCall* call = g_calls;
    while (call != nullptr && call->observer != observer) {
        call = call->next;
    }
    return call != nullptr;
}

void endCall(SCall& ended)
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    SCall** link = &g_calls;
    while (*link != &ended) {
        link = &(*link)->next;
    }
    *link = ended.next;
    g_callEnded.notify_all();
}

}  // namespace

uint64_t CRunObserver::ofThread() noexcept
{
    return g_observing ? NONE : g_current.load(std::memory_order_acquire);
}

bool CRunObserver::call(uint64_t observer, const obzx_run& run) noexcept
{
    SCall running{observer, nullptr};
    obzx_run_observer function = nullptr;
    void* context = nullptr;
    {
        const std::lock_guard<std::mutex> guard(g_mutex);
        if (g_current.load(std::memory_order_relaxed) != observer) return false;
        function = g_function;
        context = g_context;
        running.next = g_calls;
        g_calls = &running;
    }
    g_isCancelAsked = false;
    g_observing = true;
    try {
        function(context, &run);
    } catch (...) {
        // The observer's own failure; the run goes on.
    }
    g_observing = false;
    endCall(running);
    return g_isCancelAsked;
}

void CRunObserver::cancelObserved() noexcept
{
    if (g_observing) g_isCancelAsked = true;
}

void CRunObserver::set(obzx_run_observer function, void* context) noexcept
{
    std::unique_lock<std::mutex> guard(g_mutex);
    const uint64_t former = g_current.load(std::memory_order_relaxed);
    g_function = function;
    g_context = context;
    g_current.store(function == nullptr ? NONE : ++g_lastSet, std::memory_order_release);
    if (g_observing) return;
    g_callEnded.wait(guard, [former] { return !isRunning(former); });
}

}  // namespace obzx_pdk_4_4
