#include "base/helper_thread.h"

#include <csignal>
#include <new>
#include <system_error>
#include <utility>

namespace base {

std::thread startHelperThread(std::function<void()> work)
{
    // A thread begins with the signals blocked that its maker has blocked.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread;
    try {
        thread = std::thread(std::move(work));
    } catch (const std::system_error&) {
        // None can be had; the caller does without.
    } catch (const std::bad_alloc&) {
        // The same.
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

}  // namespace base
