#include "host/src/text/age_text.h"

#include <algorithm>
#include <charconv>

namespace fictl {

namespace {

struct SUnit
{
    char letter;
    std::chrono::seconds size;
};

// The largest first.
constexpr SUnit UNITS[] = {{'d', std::chrono::days(1)},
                           {'h', std::chrono::hours(1)},
                           {'m', std::chrono::minutes(1)},
                           {'s', std::chrono::seconds(1)}};

}  // namespace

std::optional<std::chrono::seconds> ageOf(const std::string& text)
{
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    constexpr int64_t MOST = 1'000'000;  // of days, thousands of years
    if (error != std::errc() || number < 0 || number > MOST || text.size() != size_t(end - text.data()) + 1) return {};
    for (const SUnit& unit : UNITS) {
        if (unit.letter == *end) return number * unit.size;
    }
    return std::nullopt;
}

std::string ageText(std::chrono::seconds age)
{
    const SUnit* const unit = std::ranges::find_if(UNITS, [&](const SUnit& each) { return age >= each.size; });
    return unit == std::end(UNITS) ? "0s" : std::to_string(age / unit->size) + unit->letter;
}

}  // namespace fictl
