#include "providers/cdp/inspect/side_by_side.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <system_error>
#include <thread>

namespace cdpfi::inspect {

void runSideBySide(const std::vector<std::function<void()>>& tasks, size_t atOnce)
{
    std::atomic<size_t> next{0};
    std::vector<std::exception_ptr> failures(tasks.size());
    const auto work = [&] {
        for (size_t task = next++; task < tasks.size(); task = next++) {
            try {
                tasks[task]();
            } catch (...) {
                failures[task] = std::current_exception();
            }
        }
    };
    {
        std::vector<std::jthread> helpers;
        helpers.reserve(atOnce);
        try {
            while (helpers.size() + 1 < std::min(atOnce, tasks.size())) {
                helpers.emplace_back(work);
            }
        } catch (const std::system_error&) {
            // The system gives no more threads; the ones there are, this one with them, do all tasks.
        }
        work();
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure) std::rethrow_exception(failure);
    }
}

}  // namespace cdpfi::inspect
