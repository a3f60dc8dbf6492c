#pragma once

#include <functional>
#include <vector>

namespace cdpfi::inspect {

/// Runs tasks, up to a number of them at once, and returns when all have ended. Where no thread can be had they run one
/// after the other. An exception of a task is thrown again at the end, the first one of several.
void runSideBySide(const std::vector<std::function<void()>>& tasks, size_t atOnce);

}  // namespace cdpfi::inspect
