#pragma once

#include <functional>

// The sanitizers take address space as they like, so that it cannot be limited.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OBZX_TEST_LIMITS_MEMORY 0
#else
#define OBZX_TEST_LIMITS_MEMORY 1
#endif

namespace obzx_test {

/// Runs an action in processes that have more and more memory left. Each has to end with the action's true or with
/// std::bad_alloc, and each of the two has to happen.
void runWithLittleMemory(const std::function<bool()>& action);

}  // namespace obzx_test
