#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace fictl {

using UtcTime = std::chrono::sys_time<std::chrono::nanoseconds>;

/// "2024-01-31T12:00:00.123456Z"
std::string utcText(UtcTime time);
/// "2024-01-31T12:00:00Z"
std::string utcSecondsText(UtcTime time);

/// "2026-01-31T12:00:00Z", maybe with a fraction of the second: an instant that reads the same whenever it is listed.
bool isInstantText(std::string_view text);
/// The whole seconds of such a text from 1970 to 2199; nothing for any other.
std::optional<UtcTime> utcSecondsOf(const std::string& text);

}  // namespace fictl
