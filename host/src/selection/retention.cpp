#include "host/src/selection/retention.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

#include "host/src/text/display_text.h"

namespace fictl {

namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::seconds;
using std::chrono::sys_days;

// A number that is the same for all instants of one period, and for no others.
int64_t periodOf(EPeriod period, UtcTime time, seconds offset)
{
    const std::chrono::sys_seconds utc = floor<seconds>(time);
    const std::chrono::sys_seconds local = utc + offset;
    const sys_days day = floor<days>(local);
    const std::chrono::year_month_day date(day);
    constexpr int64_t MONTHS = 12;
    constexpr days FROM_MONDAY{3};  // the first day of all was a Thursday
    const auto month = int64_t{int{date.year()}} * MONTHS + unsigned{date.month()};
    switch (period) {
        case EPeriod::HOURLY:
            // When the hour began, which is another instant where the local clock shows it again.
            return (floor<hours>(local) - offset).time_since_epoch().count();
        case EPeriod::DAILY:
            return day.time_since_epoch().count();
        case EPeriod::WEEKLY:
            return floor<std::chrono::weeks>(day + FROM_MONDAY).time_since_epoch().count();
        case EPeriod::MONTHLY:
            return month;
        default:
            return int{date.year()};
    }
}

class CSeries
{
  public:
    CSeries(const std::vector<SKeepable>& snapshots, const ZoneOffset& offset)
        : m_snapshots(snapshots), m_offset(offset)
    {
    }

    void add(size_t index) { m_latestFirst.push_back(index); }

    void sort()
    {
        std::ranges::sort(m_latestFirst, [this](size_t a, size_t b) {
            const SKeepable& one = m_snapshots[a];
            const SKeepable& other = m_snapshots[b];
            return one.created != other.created ? one.created > other.created : SNameOrder()(other.name, one.name);
        });
    }

    /// The snapshots that a rule keeps, the latest first.
    std::vector<size_t> kept(EPeriod period, size_t most) const
    {
        std::vector<size_t> kept;
        std::set<int64_t> seen;
        for (const size_t index : m_latestFirst) {
            if (kept.size() == most) break;
            const UtcTime time = m_snapshots[index].created;
            const bool isLatest = period == EPeriod::LAST || seen.insert(periodOf(period, time, m_offset(time))).second;
            if (isLatest) kept.push_back(index);
        }
        return kept;
    }

  private:
    const std::vector<SKeepable>& m_snapshots;
    const ZoneOffset& m_offset;
    std::vector<size_t> m_latestFirst;
};

}  // namespace

std::vector<std::vector<std::string>> keptBy(const std::vector<SKeepable>& snapshots, const KeepRules& rules,
                                             const ZoneOffset& offset)
{
    std::map<std::string, CSeries> allSeries;
    for (size_t i = 0; i < snapshots.size(); ++i) {
        allSeries.try_emplace(snapshots[i].series, snapshots, offset).first->second.add(i);
    }
    std::vector<std::vector<std::string>> reasons(snapshots.size());
    for (auto& [name, series] : allSeries) {
        series.sort();
        for (size_t rule = 0; rule < PERIODS; ++rule) {
            size_t number = 0;
            for (const size_t index : series.kept(static_cast<EPeriod>(rule), rules.at(rule))) {
                reasons[index].push_back(std::string(PERIOD_NAMES[rule]) + " " + std::to_string(++number));
            }
        }
    }
    return reasons;
}

}  // namespace fictl
