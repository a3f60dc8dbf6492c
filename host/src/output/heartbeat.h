#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "host/src/runs/run_log.h"

namespace fictl {

/**
 * Tells on standard error that fictl still waits, and for what, when a step lasts long: once in each interval. Its
 * thread starts with the first step and takes no signals. step and the two functions below may be called from any
 * thread.
 */
class CHeartbeat
{
  public:
    using Write = std::function<void(const std::string&)>;
    static constexpr std::chrono::milliseconds USUAL_INTERVAL{5000};

    explicit CHeartbeat(std::chrono::milliseconds interval = USUAL_INTERVAL, Write write = {});
    ~CHeartbeat();
    CHeartbeat(const CHeartbeat&) = delete;
    CHeartbeat& operator=(const CHeartbeat&) = delete;

    /// Another step begins.
    void step(const std::string& text);

  private:
    using Clock = std::chrono::steady_clock;

    void beat();

    const std::chrono::milliseconds m_interval;
    const Write m_write;
    std::mutex m_lock;  // guards all below but the thread
    std::condition_variable m_changed;
    std::string m_step;
    Clock::time_point m_begin;
    uint64_t m_steps = 0;
    bool m_isEnding = false;
    std::thread m_thread;
};

/// Programs that run for the provider, so that a heartbeat can name what is waited for. Of several the last one that
/// was started is named.
void noteRunStarted(const SRunRecord& run) noexcept;
void noteRunEnded(const SRunRecord& run) noexcept;
/// "lmsh: server alpha list cgroups exit", cut where it is long; empty while nothing runs.
std::string runningText();

}  // namespace fictl
