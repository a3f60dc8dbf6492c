// Round times of an axis, marks that would lie upon each other, and what is written into a page.
#include <gmock/gmock.h>

#include "host/src/report/axis.h"
#include "host/src/report/clusters.h"
#include "host/src/report/markup.h"

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
