#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "host/src/text/utc_text.h"

namespace fictl {

/// What a rule counts.
enum class EPeriod
{
    LAST,  ///< each snapshot for itself
    HOURLY,
    DAILY,
    WEEKLY,  ///< beginning on Monday
    MONTHLY,
    YEARLY,
};
inline constexpr const char* PERIOD_NAMES[] = {"last", "hourly", "daily", "weekly", "monthly", "yearly"};
inline constexpr size_t PERIODS = std::size(PERIOD_NAMES);

/// Of how many periods the latest snapshot is kept, by EPeriod; 0: there is no such rule.
using KeepRules = std::array<size_t, PERIODS>;

/// A snapshot as the rules see it.
struct SKeepable
{
    std::string name{};
    UtcTime created{};
    std::string series{};  ///< the rules count each series for itself
};

/// Seconds by which the local clock is ahead of UTC at an instant.
using ZoneOffset = std::function<std::chrono::seconds(UtcTime)>;

/**
 * Which rules keep each snapshot, as texts such as "daily 3": the third day back from the latest one that has a
 * snapshot. A snapshot without one is kept by no rule. A rule keeps the latest snapshot of each period of the calendar,
 * of as many periods as it counts; periods without a snapshot do not count, and every rule counts for itself. Hours,
 * days and all above are those of the local clock; an hour that comes twice is two. Of snapshots of the same time the
 * one whose name comes last, as people count, is the latest. What it gives depends on nothing but its arguments.
 */
std::vector<std::vector<std::string>> keptBy(const std::vector<SKeepable>& snapshots, const KeepRules& rules,
                                             const ZoneOffset& offset);

}  // namespace fictl
