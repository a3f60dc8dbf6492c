#include "host/src/output/heartbeat.h"

#include <map>
#include <new>
#include <utility>

#include "base/helper_thread.h"
#include "host/src/output/progress.h"
#include "host/src/runs/appliance_report.h"
#include "host/src/text/display_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SRunning
{
    std::mutex lock;
    std::map<uint64_t, std::string> runs;
};

SRunning& running()
{
    static SRunning state;
    return state;
}

std::string textOf(const SRunRecord& run)
{
    constexpr size_t WIDEST = 100;
    std::string text = run.program();
    for (size_t i = 1; i < run.arguments.size(); ++i) {
        text += " " + run.arguments[i];
    }
    if (!run.input.empty()) text += ": " + oneLine(run.input);
    return cutToWidth(printable(text), WIDEST);
}

}  // namespace

void noteRunStarted(const SRunRecord& run) noexcept
{
    try {
        std::string text = textOf(run);
        SRunning& all = running();
        const std::lock_guard guard(all.lock);
        all.runs[run.number] = std::move(text);
    } catch (const std::bad_alloc&) {
        // A run without a name is no reason to stop.
    }
}

void noteRunEnded(const SRunRecord& run) noexcept
{
    SRunning& all = running();
    const std::lock_guard guard(all.lock);
    all.runs.erase(run.number);
}

std::string runningText()
{
    SRunning& all = running();
    const std::lock_guard guard(all.lock);
    return all.runs.empty() ? std::string() : all.runs.rbegin()->second;
}

CHeartbeat::CHeartbeat(std::chrono::milliseconds interval, Write write)
    : m_interval(interval), m_write(write ? std::move(write) : Write(&CProgress::write))
{
}

CHeartbeat::~CHeartbeat()
{
    {
        const std::lock_guard guard(m_lock);
        m_isEnding = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

void CHeartbeat::step(const std::string& text)
{
    const std::lock_guard guard(m_lock);
    m_step = text;
    m_begin = Clock::now();
    ++m_steps;
    m_changed.notify_all();
    // Without a thread there is no heartbeat, and everything else goes on.
    if (!m_thread.joinable()) m_thread = base::startHelperThread([this] { beat(); });
}

void CHeartbeat::beat()
{
    std::unique_lock guard(m_lock);
    while (!m_isEnding) {
        const uint64_t step = m_steps;
        const auto isOver = [this, step] { return m_isEnding || m_steps != step; };
        for (Clock::time_point next = m_begin + m_interval; !m_changed.wait_until(guard, next, isOver);
             next += m_interval) {
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - m_begin).count();
            std::string text = "fictl: still waiting: " + printable(m_step) + " (" + std::to_string(seconds) + " s)";
            if (const std::string run = runningText(); !run.empty()) text += ": " + run;
            guard.unlock();
            m_write(text + "\n");
            guard.lock();
            if (isOver()) break;
        }
    }
}

}  // namespace fictl
