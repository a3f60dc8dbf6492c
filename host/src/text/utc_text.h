#pragma once

#include <chrono>
#include <string>

namespace fictl {

using UtcTime = std::chrono::sys_time<std::chrono::nanoseconds>;

/// "2024-01-31T12:00:00.123456Z"
std::string utcText(UtcTime time);
/// "2024-01-31T12:00:00Z"
std::string utcSecondsText(UtcTime time);

}  // namespace fictl
