#pragma once

#include <atomic>
#include <cstdint>

#include "framework/include/obzx_runtime.h"

namespace obzx_pdk_4_4 {

/// The process's run observer. Nothing here allocates.
class CRunObserver
{
  public:
    static constexpr uint64_t NONE = 0;

    /// Which observer is to be told about a run that begins now on this thread; NONE when none is set, and inside the
    /// call of one.
    static uint64_t current() noexcept { return g_current.load(std::memory_order_acquire) == NONE ? NONE : ofThread(); }
    /// Calls it, unless it is no longer the one that is set. @return whether it asked for the run to be cancelled
    static bool call(uint64_t observer, const obzx_run& run) noexcept;

    /// What the observer asks for in a call on this thread; nothing outside of one.
    static void cancelObserved() noexcept;

    static void set(obzx_run_observer function, void* context) noexcept;

  private:
    static uint64_t ofThread() noexcept;

    static std::atomic<uint64_t> g_current;
};

}  // namespace obzx_pdk_4_4
