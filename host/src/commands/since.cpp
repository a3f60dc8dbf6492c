#include "host/src/commands/since.h"

#include <algorithm>
#include <chrono>
#include <string_view>

#include "host/src/output/error.h"
#include "host/src/text/age_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// Of a day, of a time as records have it, or of the beginning of one.
std::optional<UtcTime> timeOf(const std::string& text)
{
    constexpr std::string_view MIDNIGHT = "0000-00-00T00:00:00Z";
    constexpr size_t DAY = 10;
    if (text.size() < DAY || text.size() > MIDNIGHT.size()) return std::nullopt;
    return utcSecondsOf(text + std::string(MIDNIGHT.substr(text.size())));
}

}  // namespace

std::string sinceText(const std::string& given)
{
    if (given.empty() || timeOf(given)) return given;
    const std::optional<std::chrono::seconds> age = ageOf(given);
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    // An age may be thousands of years, more than nanoseconds count.
    if (age) return utcSecondsText(now - std::min(*age, now.time_since_epoch()));
    throw EFictl(EExit::USAGE, "--since: \"" + printable(given) + "\" is neither a time nor an age",
                 "give an age such as 90s, 30m, 12h or 2d, or a time such as 2026-01-31 or 2026-01-31T12:00:00Z");
}

std::optional<UtcTime> sinceTime(const std::string& given)
{
    return timeOf(sinceText(given));
}

}  // namespace fictl
