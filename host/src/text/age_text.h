#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace fictl {

/// Seconds of an age such as 90s, 30m, 12h or 2d; nothing for another text.
std::optional<std::chrono::seconds> ageOf(const std::string& text);
/// An age in its largest whole unit, in the same form; one that lies in the future as 0s.
std::string ageText(std::chrono::seconds age);

}  // namespace fictl
