// Round times of an axis, marks that would lie upon each other, and what is written into a page.
#include <gmock/gmock.h>

#include <regex>

#include "host/src/report/axis.h"
#include "host/src/report/clusters.h"
#include "host/src/report/markup.h"
#include "host/src/report/picture.h"

namespace fictl {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;
using testing::ElementsAre;

std::vector<std::string> ticks(const std::string& from, const std::string& until)
{
    std::vector<std::string> texts;
    for (const STick& tick : ticksOf(*utcSecondsOf(from), *utcSecondsOf(until), 7)) {
        texts.push_back(tick.text);
    }
    return texts;
}

TEST(CAxisTest, TimesAreRoundAndEvenlySpaced)
{
    EXPECT_THAT(ticks("2026-01-31T11:58:00Z", "2026-01-31T12:02:30Z"),
                ElementsAre("31 Jan 11:58", "31 Jan 11:59", "31 Jan 12:00", "31 Jan 12:01", "31 Jan 12:02"));
    EXPECT_THAT(ticks("2026-01-31T05:30:00Z", "2026-01-31T20:00:00Z"),
                ElementsAre("31 Jan 06:00", "31 Jan 09:00", "31 Jan 12:00", "31 Jan 15:00", "31 Jan 18:00"));
    EXPECT_THAT(ticks("2026-01-28T05:30:00Z", "2026-02-02T20:00:00Z"),
                ElementsAre("29 Jan", "30 Jan", "31 Jan", "1 Feb", "2 Feb"));
    EXPECT_THAT(ticks("2026-01-01T00:00:00Z", "2026-02-01T00:00:00Z"),
                ElementsAre("5 Jan", "12 Jan", "19 Jan", "26 Jan"))
        << "Mondays";
    EXPECT_THAT(ticks("2025-09-15T00:00:00Z", "2026-02-01T00:00:00Z"),
                ElementsAre("Oct 2025", "Nov 2025", "Dec 2025", "Jan 2026", "Feb 2026"));
    EXPECT_THAT(ticks("2021-02-01T00:00:00Z", "2026-02-01T00:00:00Z"),
                ElementsAre("2022", "2023", "2024", "2025", "2026"));
}

TEST(CAxisTest, AnInstantAndAgesHaveAnAxis)
{
    EXPECT_THAT(ticks("2026-01-31T12:00:00Z", "2026-01-31T12:00:00Z"), ElementsAre("31 Jan 12:00"));
    EXPECT_LE(ticks("1970-01-01T00:00:00Z", "2026-01-31T12:00:00Z").size(), 7U);
}

TEST(CClustersTest, WhatIsTooCloseIsOneMarkThatDeservesALookMost)
{
    const std::vector<SPlaced> placed = {{0.0, EMark::COMPLETE, 5},
                                         {0.03, EMark::ATTENTION, 6},
                                         {0.039, EMark::DELETED, 7},
                                         {0.04, EMark::COMPLETE, 8},
                                         {0.5, EMark::IMPORTED, 9}};
    const std::vector<SCluster> clusters = clustersOf(placed, 0.04);
    ASSERT_EQ(clusters.size(), 3U);
    EXPECT_THAT(clusters[0].members, ElementsAre(5U, 6U, 7U));
    EXPECT_EQ(clusters[0].mark, EMark::ATTENTION);
    EXPECT_EQ(clusters[0].at, 0.0);
    EXPECT_THAT(clusters[1].members, ElementsAre(8U));
    EXPECT_EQ(clusters[2].mark, EMark::IMPORTED);
}

TEST(CMarkupTest, NoTextEndsWhatItStandsIn)
{
    EXPECT_EQ(escaped("</td><script>alert(\"a\" + 'b' & c)</script>"),
              "&lt;/td&gt;&lt;script&gt;alert(&quot;a&quot; + &#39;b&#39; &amp; c)&lt;/script&gt;");
    EXPECT_EQ(escaped("a\nb\x1b[0m\xff"), "a\\x0ab\\x1b[0m\\xff");
    EXPECT_EQ(isolated("<b>"), "<bdi>&lt;b&gt;</bdi>");
}

SReport reportOfOneLane()
{
    SReport report;
    report.from = *utcSecondsOf("2026-01-01T00:00:00Z");
    report.until = *utcSecondsOf("2026-12-31T00:00:00Z");
    report.lanes.push_back({.group = {"ap1", "g1"}});
    return report;
}

// The classes and titles of what is of a kind, "look: title".
std::vector<std::string> drawn(const SReport& report, const std::string& kind)
{
    const std::string markup = pictureMarkup(report);
    std::vector<std::string> found;
    const std::regex sign("<rect class=\"" + kind + " ?([^\"]*)\"[^>]*><title>([^<]*)</title>");
    for (std::sregex_iterator each(markup.begin(), markup.end(), sign), end; each != end; ++each) {
        found.push_back((*each)[1].str() + ": " + (*each)[2].str());
    }
    return found;
}

TEST(CPictureTest, CopiesThatWouldLieUponEachOtherAreOneBarOfTheOneThatCountsMost)
{
    const UtcTime day = *utcSecondsOf("2026-02-01T00:00:00Z");
    struct SEnd
    {
        ECopyEnd end;
        bool isSure;
    };
    struct SCase
    {
        std::vector<SEnd> copies;
        const char* look;
    };
    constexpr SEnd GIVEN_BACK = {ECopyEnd::GIVEN_BACK, true};
    constexpr SEnd NOT_KNOWN = {ECopyEnd::NOT_KNOWN, true};
    constexpr SEnd NOT_SURE = {ECopyEnd::SHOWS, false};
    constexpr SEnd SHOWS = {ECopyEnd::SHOWS, true};
    for (const SCase& each : {SCase{{GIVEN_BACK, GIVEN_BACK}, "given-back"},
                              SCase{{GIVEN_BACK, NOT_KNOWN}, "not-known"}, SCase{{NOT_KNOWN, GIVEN_BACK}, "not-known"},
                              SCase{{NOT_SURE, SHOWS}, "shows"}, SCase{{GIVEN_BACK, SHOWS}, "shows"}}) {
        SReport report = reportOfOneLane();
        for (const SEnd& end : each.copies) {
            const size_t place = report.copies.size();
            report.lanes[0].copies.push_back(place);
            report.copies.push_back({.snapshot = "s" + std::to_string(place),
                                     .group = report.lanes[0].group,
                                     .host = "h",
                                     .from = day,
                                     .until = day + 1min,
                                     .end = end.end,
                                     .isSure = end.isSure});
        }
        const std::vector<std::string> bars = drawn(report, "copy");
        ASSERT_EQ(bars.size(), 1U);
        EXPECT_THAT(bars[0], testing::StartsWith(std::string(each.look) + ": 2 copies from s0 on h from 2026-02-01"));
    }
}

TEST(CPictureTest, MissingRunsThatWouldLieUponEachOtherAreOneBar)
{
    SReport report = reportOfOneLane();
    const auto add = [&](const std::string& job, UtcTime from) {
        report.lanes[0].gaps.push_back(report.gaps.size());
        report.gaps.push_back({.job = job, .from = from, .until = from + 5min});
    };
    for (int i = 0; i < 10'000; ++i) {
        add("db", *utcSecondsOf("2026-02-01T00:00:00Z") + i * 10min);
    }
    add("db", *utcSecondsOf("2026-11-01T00:00:00Z"));
    add("web", *utcSecondsOf("2026-11-01T00:00:00Z"));
    EXPECT_THAT(drawn(report, "gap"),
                ElementsAre(": 10000 missing runs of job db from 2026-02-01 00:00:00 to 2026-04-11 10:35:00",
                            ": no run of job db from 2026-11-01 00:00:00 to 2026-11-01 00:05:00",
                            ": no run of job web from 2026-11-01 00:00:00 to 2026-11-01 00:05:00"));
}

TEST(CMarkupTest, PlacesHaveTwoDigits)
{
    EXPECT_EQ(percent(0), "0.00%");
    EXPECT_EQ(percent(1.0 / 3), "33.33%");
    EXPECT_EQ(percent(1), "100.00%");
}

// Of RFC 6234 and FIPS 180-2, in the form of RFC 4648.
TEST(CMarkupTest, APolicyNamesBytesByTheirDigest)
{
    EXPECT_EQ(policySource("abc"), "'sha256-ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0='");
    EXPECT_EQ(policySource(""), "'sha256-47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU='");
}

}  // namespace

}  // namespace fictl
