// The text format of OpenMetrics, line by line.
#include "host/src/output/metrics.h"

#include <gtest/gtest.h>

namespace fictl {

namespace {

TEST(Metrics, AreGaugesWithTheirSamples)
{
    CMetrics metrics;
    metrics.gauge("fictl_snapshots", "Snapshots, by state.");
    metrics.sample({{"state", "complete"}}, 10);
    metrics.sample({{"state", "partial"}, {"host", "a"}}, 0);
    metrics.gauge("fictl_newest_timestamp_seconds", "The newest one.");
    metrics.sample({}, -5);
    EXPECT_EQ(metrics.text(),
              "# HELP fictl_snapshots Snapshots, by state.\n"
              "# TYPE fictl_snapshots gauge\n"
              "fictl_snapshots{state=\"complete\"} 10\n"
              "fictl_snapshots{state=\"partial\",host=\"a\"} 0\n"
              "# HELP fictl_newest_timestamp_seconds The newest one.\n"
              "# TYPE fictl_newest_timestamp_seconds gauge\n"
              "# UNIT fictl_newest_timestamp_seconds seconds\n"
              "fictl_newest_timestamp_seconds -5\n"
              "# EOF\n");
}

TEST(Metrics, AGaugeWithoutASampleIsLeftAway)
{
    CMetrics metrics;
    metrics.gauge("fictl_oldest_timestamp_seconds", "The oldest one.");
    EXPECT_EQ(metrics.text(), "# EOF\n");
    metrics.gauge("fictl_snapshots", "Snapshots.");
    metrics.sample({}, 0);
    EXPECT_EQ(metrics.text(),
              "# HELP fictl_snapshots Snapshots.\n# TYPE fictl_snapshots gauge\nfictl_snapshots 0\n# EOF\n");
}

TEST(Metrics, WhatWouldEndAValueOrALineIsEscaped)
{
    CMetrics metrics;
    metrics.gauge("g", "of \"a\\b\"\nand more");
    metrics.sample({{"name", "a\"b\\c\nd} 1"}}, 1);
    EXPECT_EQ(metrics.text(),
              "# HELP g of \"a\\\\b\"\\nand more\n"
              "# TYPE g gauge\n"
              "g{name=\"a\\\"b\\\\c\\nd} 1\"} 1\n"
              "# EOF\n");
}

TEST(Metrics, AValueIsUtf8WhateverTheNameOfAFileIs)
{
    CMetrics metrics;
    metrics.gauge("g", "h");
    metrics.sample({{"job", "b\xff"}}, 1);
    EXPECT_EQ(metrics.text(), "# HELP g h\n# TYPE g gauge\ng{job=\"b\\\\xff\"} 1\n# EOF\n");
}

}  // namespace

}  // namespace fictl
