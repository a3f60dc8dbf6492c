#pragma once

#include <functional>
#include <thread>

namespace base {

/// A thread that takes no signals, so that their handlers run on the thread that the program began with. What the work
/// throws ends the process. A thread that cannot be joined when the system gives no more, or no memory.
std::thread startHelperThread(std::function<void()> work);

}  // namespace base
