// Which snapshots the rules keep: by examples, and against a plain reference for random times in several time zones.
#include "host/src/selection/retention.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <random>
#include <set>

#include "host/src/text/display_text.h"
#include "host/src/text/local_time.h"

namespace fictl {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

void setZone(const char* zone)
{
    setenv("TZ", zone, 1);  // NOLINT(concurrency-mt-unsafe)
    tzset();
}

/// As the rules are told in the manual, with the calendar of the C library.
class CReference
{
  public:
    CReference(const std::vector<SKeepable>& snapshots, const KeepRules& rules) : m_snapshots(snapshots), m_rules(rules)
    {
    }

    std::vector<std::string> keptBy(const SKeepable& snapshot) const
    {
        std::vector<std::string> reasons;
        for (size_t rule = 0; rule < PERIODS; ++rule) {
            const size_t place = placeOf(snapshot, static_cast<EPeriod>(rule));
            if (place <= m_rules.at(rule)) {
                reasons.push_back(std::string(PERIOD_NAMES[rule]) + " " + std::to_string(place));
            }
        }
        return reasons;
    }

  private:
    static std::string periodOf(const SKeepable& snapshot, EPeriod period)
    {
        const std::time_t time = std::chrono::floor<std::chrono::seconds>(snapshot.created).time_since_epoch().count();
        std::tm parts{};
        localtime_r(&time, &parts);
        std::array<char, 64> text{};
        size_t size = 0;
        switch (period) {
            case EPeriod::LAST:
                return snapshot.name;
            case EPeriod::HOURLY:
                size = std::strftime(text.data(), text.size(), "%Y-%m-%d %H %z", &parts);
                break;
            case EPeriod::DAILY:
                size = std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
                break;
            case EPeriod::WEEKLY:
                size = std::strftime(text.data(), text.size(), "%G week %V", &parts);
                break;
            case EPeriod::MONTHLY:
                size = std::strftime(text.data(), text.size(), "%Y-%m", &parts);
                break;
            case EPeriod::YEARLY:
                size = std::strftime(text.data(), text.size(), "%Y", &parts);
                break;
        }
        return {text.data(), size};
    }

    static bool isLater(const SKeepable& one, const SKeepable& other)
    {
        if (one.created != other.created) return one.created > other.created;
        return SNameOrder()(other.name, one.name);
    }

    // 1 for the latest of the latest period; more than any rule counts for one that is not the latest of its period.
    size_t placeOf(const SKeepable& snapshot, EPeriod period) const
    {
        constexpr size_t NONE = 1'000'000;
        const std::string own = periodOf(snapshot, period);
        std::set<std::string> laterPeriods;
        for (const SKeepable& other : m_snapshots) {
            if (other.series != snapshot.series || !isLater(other, snapshot)) continue;
            if (periodOf(other, period) == own) return NONE;
            laterPeriods.insert(periodOf(other, period));
        }
        return laterPeriods.size() + 1;
    }

    const std::vector<SKeepable>& m_snapshots;
    const KeepRules& m_rules;
};

class CRetentionTest : public testing::Test
{
  protected:
    void TearDown() override { setZone("UTC0"); }

    void add(const std::string& name, UtcTime created, const std::string& series = "s")
    {
        m_snapshots.push_back({name, created, series});
    }
    /// "name: rules", in the order in which they were added; those that no rule keeps are left out.
    std::string kept(const KeepRules& rules) const
    {
        std::string text;
        const auto reasons = keptBy(m_snapshots, rules, localOffset);
        for (size_t i = 0; i < m_snapshots.size(); ++i) {
            if (reasons[i].empty()) continue;
            text += (text.empty() ? "" : "; ") + m_snapshots[i].name + ":";
            for (const std::string& reason : reasons[i]) {
                text += " " + reason;
            }
        }
        return text;
    }

    std::vector<SKeepable> m_snapshots;
};

constexpr KeepRules only(EPeriod period, size_t number)
{
    KeepRules rules{};
    rules.at(static_cast<size_t>(period)) = number;
    return rules;
}

TEST_F(CRetentionTest, WithoutRulesNothingIsKept)
{
    add("a", sys_days(2026y / 1 / 1));
    EXPECT_EQ(kept({}), "");
}

TEST_F(CRetentionTest, TheLastOnesAreCountedOneByOne)
{
    add("b", sys_days(2026y / 1 / 2));
    add("a", sys_days(2026y / 1 / 1));
    add("c", sys_days(2026y / 1 / 3));
    EXPECT_EQ(kept(only(EPeriod::LAST, 2)), "b: last 2; c: last 1");
    EXPECT_EQ(kept(only(EPeriod::LAST, 9)), "b: last 2; a: last 3; c: last 1");
}

TEST_F(CRetentionTest, TheLatestOfADayIsKept)
{
    add("mon-early", sys_days(2026y / 1 / 5) + 1h);
    add("mon-late", sys_days(2026y / 1 / 5) + 23h);
    add("thu", sys_days(2026y / 1 / 8));
    EXPECT_EQ(kept(only(EPeriod::DAILY, 2)), "mon-late: daily 2; thu: daily 1") << "days without one do not count";
}

TEST_F(CRetentionTest, EveryRuleCountsForItself)
{
    add("old", sys_days(2025y / 12 / 31));
    add("new", sys_days(2026y / 1 / 1));
    EXPECT_EQ(kept({1, 0, 1, 0, 1, 2}), "old: yearly 2; new: last 1 daily 1 monthly 1 yearly 1");
}

TEST_F(CRetentionTest, AWeekBeginsOnMondayAlsoAcrossTheYear)
{
    add("sun", sys_days(2025y / 12 / 28));
    add("mon", sys_days(2025y / 12 / 29));
    add("thu", sys_days(2026y / 1 / 1));
    add("next", sys_days(2026y / 1 / 5));
    EXPECT_EQ(kept(only(EPeriod::WEEKLY, 9)), "sun: weekly 3; thu: weekly 2; next: weekly 1");
}

TEST_F(CRetentionTest, ALeapDayIsADayOfItsOwn)
{
    add("28", sys_days(2028y / 2 / 28));
    add("29", sys_days(2028y / 2 / 29));
    add("1", sys_days(2028y / 3 / 1));
    EXPECT_EQ(kept(only(EPeriod::DAILY, 9)), "28: daily 3; 29: daily 2; 1: daily 1");
    EXPECT_EQ(kept(only(EPeriod::MONTHLY, 9)), "29: monthly 2; 1: monthly 1");
}

TEST_F(CRetentionTest, DaysAreThoseOfTheLocalCalendar)
{
    add("evening", sys_days(2026y / 6 / 1) + 21h + 30min);
    add("night", sys_days(2026y / 6 / 1) + 22h + 30min);
    EXPECT_EQ(kept(only(EPeriod::DAILY, 9)), "night: daily 1");
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(kept(only(EPeriod::DAILY, 9)), "evening: daily 2; night: daily 1");
}

TEST_F(CRetentionTest, AnHourThatComesTwiceIsTwo)
{
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    add("summer", sys_days(2026y / 10 / 25) + 30min);
    add("winter", sys_days(2026y / 10 / 25) + 1h + 30min);
    EXPECT_EQ(kept(only(EPeriod::HOURLY, 9)), "summer: hourly 2; winter: hourly 1");
    EXPECT_EQ(kept(only(EPeriod::DAILY, 9)), "winter: daily 1");
}

TEST_F(CRetentionTest, HoursBeginWhereTheLocalClockHasThem)
{
    setZone("<+0545>-5:45");
    add("a", sys_days(2026y / 1 / 1) + 10min);
    add("b", sys_days(2026y / 1 / 1) + 20min);
    EXPECT_EQ(kept(only(EPeriod::HOURLY, 9)), "a: hourly 2; b: hourly 1") << "05:55 and 06:05";
}

TEST_F(CRetentionTest, OfEqualTimesTheLastNameCounts)
{
    add("n10", sys_days(2026y / 1 / 1));
    add("n9", sys_days(2026y / 1 / 1));
    EXPECT_EQ(kept(only(EPeriod::DAILY, 1)), "n10: daily 1");
    EXPECT_EQ(kept(only(EPeriod::LAST, 2)), "n10: last 1; n9: last 2");
}

TEST_F(CRetentionTest, EachSeriesIsCountedForItself)
{
    add("a", sys_days(2026y / 1 / 1), "db");
    add("b", sys_days(2026y / 1 / 2), "web");
    add("c", sys_days(2026y / 1 / 3), "web");
    EXPECT_EQ(kept(only(EPeriod::LAST, 1)), "a: last 1; c: last 1");
}

/// Random snapshots: some close together, some at the same instant, in several series.
std::vector<SKeepable> randomSnapshots(std::mt19937& random, int64_t span)
{
    const auto pick = [&](int64_t least, int64_t most) { return std::uniform_int_distribution(least, most)(random); };
    // From 2023 on: a leap year, and each of the changes between summer and winter time.
    const UtcTime start = sys_days(2023y / 12 / 1) + std::chrono::seconds(pick(0, 400 * 86400));
    std::vector<SKeepable> snapshots(static_cast<size_t>(pick(0, 60)));
    for (size_t i = 0; i < snapshots.size(); ++i) {
        snapshots[i].name = "n" + std::to_string(i);
        snapshots[i].series = std::string(1, static_cast<char>('a' + pick(0, 1)));
        const bool isCopy = i > 0 && pick(0, 9) == 0;
        snapshots[i].created = isCopy ? snapshots[i - 1].created : start + std::chrono::seconds(pick(0, span));
    }
    std::ranges::shuffle(snapshots, random);
    return snapshots;
}

struct SZone
{
    const char* name;
    const char* zone;
};

class CRandomRetentionTest : public testing::TestWithParam<SZone>
{
  protected:
    void SetUp() override { setZone(GetParam().zone); }
    void TearDown() override { setZone("UTC0"); }
};

TEST_P(CRandomRetentionTest, IsThatOfTheReference)
{
    std::mt19937 random(4711);
    constexpr int64_t SPANS[] = {3 * 3600, 3 * 86400, 60 * 86400, 3 * 365 * 86400};
    size_t keptOnes = 0;
    size_t others = 0;
    for (int round = 0; round < 400; ++round) {
        const std::vector<SKeepable> snapshots = randomSnapshots(random, SPANS[round % 4]);
        KeepRules rules{};
        for (size_t& rule : rules) {
            rule = std::uniform_int_distribution<size_t>(0, 6)(random);
        }
        const auto reasons = keptBy(snapshots, rules, localOffset);
        const CReference reference(snapshots, rules);
        ASSERT_EQ(reasons.size(), snapshots.size());
        for (size_t i = 0; i < snapshots.size(); ++i) {
            ASSERT_EQ(reasons[i], reference.keptBy(snapshots[i]))
                << "round " << round << ": " << snapshots[i].name << " of " << utcSecondsText(snapshots[i].created);
            ++(reasons[i].empty() ? others : keptOnes);
        }
    }
    EXPECT_GT(keptOnes, 1000U) << "else nothing was looked at";
    EXPECT_GT(others, 1000U);
}

TEST_P(CRandomRetentionTest, RunningAgainAfterTheOthersAreGoneKeepsTheSame)
{
    std::mt19937 random(1234);
    for (int round = 0; round < 100; ++round) {
        const std::vector<SKeepable> before = randomSnapshots(random, 90 * 86400);
        const KeepRules rules = {2, 3, 7, 4, 12, 1};
        const auto reasons = keptBy(before, rules, localOffset);
        std::vector<SKeepable> after;
        for (size_t i = 0; i < before.size(); ++i) {
            if (!reasons[i].empty()) after.push_back(before[i]);
        }
        for (const std::vector<std::string>& again : keptBy(after, rules, localOffset)) {
            ASSERT_FALSE(again.empty()) << "round " << round;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Zones, CRandomRetentionTest,
                         testing::Values(SZone{"Utc", "UTC0"}, SZone{"Berlin", "CET-1CEST,M3.5.0,M10.5.0/3"},
                                         SZone{"JustAfterMidnight", "NST3:30NDT,M3.2.0/0:01,M11.1.0/0:01"},
                                         SZone{"QuarterHour", "<+0545>-5:45"},
                                         SZone{"HalfAnHourOfSummer", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"},
                                         SZone{"FarWest", "<-11>11"}),
                         [](const testing::TestParamInfo<SZone>& zone) { return zone.param.name; });

}  // namespace

}  // namespace fictl
