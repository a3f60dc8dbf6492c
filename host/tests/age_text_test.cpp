// Ages as they are given and shown.
#include "host/src/text/age_text.h"

#include <gtest/gtest.h>

namespace fictl {

using namespace std::chrono_literals;

TEST(CAgeTest, IsANumberAndAUnit)
{
    EXPECT_EQ(ageOf("90s"), 90s);
    EXPECT_EQ(ageOf("30m"), 30min);
    EXPECT_EQ(ageOf("12h"), 12h);
    EXPECT_EQ(ageOf("0d"), 0s);
    EXPECT_EQ(ageOf("2d"), 48h);
    for (const char* const text : {"", "d", "2", "2w", "2 d", "-1d", "+1d", "1.5h", "2dd", "1000001d", "0x1d"}) {
        EXPECT_EQ(ageOf(text), std::nullopt) << text;
    }
}

TEST(CAgeTest, IsShownInItsLargestWholeUnit)
{
    EXPECT_EQ(ageText(0s), "0s");
    EXPECT_EQ(ageText(59s), "59s");
    EXPECT_EQ(ageText(60s), "1m");
    EXPECT_EQ(ageText(3599s), "59m");
    EXPECT_EQ(ageText(1h), "1h");
    EXPECT_EQ(ageText(24h - 1s), "23h");
    EXPECT_EQ(ageText(24h), "1d");
    EXPECT_EQ(ageText(400 * 24h), "400d");
    EXPECT_EQ(ageText(-5s), "0s") << "the clock was set back since";
}

}  // namespace fictl
