#include "base/side_by_side.h"

#include <utility>

#include "base/helper_thread.h"

namespace base {

void CSideBySide::add(Task task)
{
    const std::lock_guard guard(m_lock);
    m_waiting.push_back(std::move(task));
    if (m_isRunning) startHelpers();
    m_changed.notify_one();
}

void CSideBySide::run()
{
    {
        const std::lock_guard guard(m_lock);
        m_isRunning = true;
        m_helpers.reserve(m_atOnce);  // a thread that was started must find its place
        // The calling thread does one of them.
        startHelpers();
    }
    work();
    for (std::thread& helper : m_helpers) {
        helper.join();
    }
    if (m_failure) std::rethrow_exception(m_failure);
}

void CSideBySide::startHelpers()
{
    while (m_helpers.size() + 1 < m_atOnce && m_helpers.size() + 1 < m_busy + m_waiting.size()) {
        std::thread helper = startHelperThread([this] { work(); });
        if (!helper.joinable()) {
            m_atOnce = m_helpers.size() + 1;
            return;
        }
        m_helpers.push_back(std::move(helper));
    }
}

void CSideBySide::work()
{
    std::unique_lock guard(m_lock);
    for (;;) {
        m_changed.wait(guard, [this] { return !m_waiting.empty() || m_busy == 0; });
        if (m_waiting.empty()) return;
        const size_t number = m_begun++;
        Task task = std::move(m_waiting.front());
        m_waiting.pop_front();
        ++m_busy;
        guard.unlock();
        std::exception_ptr failure;
        try {
            task();
        } catch (...) {
            failure = std::current_exception();
        }
        task = nullptr;
        guard.lock();
        --m_busy;
        if (failure) keepFailure(number, std::move(failure));
        if (m_busy == 0) m_changed.notify_all();
    }
}

void CSideBySide::keepFailure(size_t task, std::exception_ptr failure)
{
    if (m_failure && m_failedTask < task) return;
    m_failedTask = task;
    m_failure = std::move(failure);
}

void runSideBySide(std::vector<CSideBySide::Task> tasks, size_t atOnce)
{
    CSideBySide all(atOnce);
    for (CSideBySide::Task& task : tasks) {
        all.add(std::move(task));
    }
    all.run();
}

}  // namespace base
