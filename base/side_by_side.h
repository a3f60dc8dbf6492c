#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace base {

/**
 * Does tasks side by side, up to a number of them at once, on the calling thread and on helper threads, which take no
 * signals. They are begun in the order in which they were added. With 1 at once no thread is made; where the system
 * gives no more threads, those there are do all tasks, the calling one at least.
 */
class CSideBySide
{
  public:
    using Task = std::function<void()>;

    /// @param atOnce 0 counts as 1
    explicit CSideBySide(size_t atOnce) : m_atOnce(atOnce) {}
    CSideBySide(const CSideBySide&) = delete;
    CSideBySide& operator=(const CSideBySide&) = delete;

    /// Before run(), or within a task.
    void add(Task task);
    /// Returns when all tasks have ended, also those that tasks have added. What a task throws is thrown again then: of
    /// several that of the task that was added first. Without memory for the threads it throws with nothing begun. To
    /// be called once.
    void run();

  private:
    void work();
    void startHelpers();  // the caller holds the lock
    void keepFailure(size_t task, std::exception_ptr failure);

    std::mutex m_lock;  // guards all below
    std::condition_variable m_changed;
    size_t m_atOnce;
    std::deque<Task> m_waiting;
    std::vector<std::thread> m_helpers;
    size_t m_begun = 0;
    size_t m_busy = 0;
    bool m_isRunning = false;
    size_t m_failedTask = 0;
    std::exception_ptr m_failure;
};

/// The same for tasks that are all known.
void runSideBySide(std::vector<CSideBySide::Task> tasks, size_t atOnce);

}  // namespace base
