// Lanes as text: whole pictures of small catalogs, and that no line is too wide whatever is in it.
#include "host/src/report/timeline.h"

#include <gtest/gtest.h>

#include <sstream>

#include "host/src/text/display_text.h"

namespace fictl {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

class CTimelineTest : public testing::Test
{
  protected:
    static constexpr UtcTime NOW = sys_days(2026y / 1 / 31);

    CTimelineTest()
    {
        m_report.from = NOW - 240h;
        m_report.until = NOW;
    }

    SReportLane& lane(const GroupKey& group)
    {
        m_report.lanes.push_back({.group = group});
        return m_report.lanes.back();
    }
    void add(SReportLane& lane, std::chrono::hours age, EMark mark = EMark::COMPLETE)
    {
        lane.snapshots.push_back(m_report.snapshots.size());
        m_report.snapshots.push_back({.name = "s", .mark = mark, .time = NOW - age});
        ++lane.present;
        if (!lane.oldest) lane.oldest = NOW - age;
    }
    void addCopy(SReportLane& lane, const std::string& host, std::chrono::hours from, std::chrono::hours until,
                 ECopyEnd end)
    {
        lane.copies.push_back(m_report.copies.size());
        m_report.copies.push_back(
            {.snapshot = "s", .group = lane.group, .host = host, .from = NOW - from, .until = NOW - until, .end = end});
    }
    void fill()
    {
        SReportLane& one = lane({"ap1", "payroll"});
        add(one, 240h);
        add(one, 192h, EMark::DELETED);
        add(one, 96h, EMark::ATTENTION);
        add(one, 48h, EMark::UNDER_WAY);
        add(one, 0h, EMark::IMPORTED);
        one.gaps.push_back(0);
        m_report.gaps.push_back({"db", NOW - 168h, NOW - 120h});
        addCopy(one, "backup", 240h, 192h, ECopyEnd::GIVEN_BACK);
        addCopy(one, "backup", 168h, 144h, ECopyEnd::NOT_KNOWN);
        addCopy(one, "backup", 24h, 0h, ECopyEnd::SHOWS);
    }

    std::string drawn(size_t width, bool isAscii = false) const
    {
        return timelineOf(m_report, {.width = width, .isAscii = isAscii});
    }

    SReport m_report;
};

TEST_F(CTimelineTest, IsDrawnWithSignsOfTheirOwnForEachState)
{
    fill();
    EXPECT_EQ(drawn(62),
              "ap1/payroll                           5 snapshots, oldest 10d\n"
              "●···········○·····░░░░░░░░░░░░░·····▲···········◐···········◆\n"
              "  copies on backup\n"
              "─────────────     ┄┄┄┄┄┄┄                             ━━━━━━━\n"
              "\n"
              "|21 Jan     |23 Jan     |25 Jan     |27 Jan     |29 Jan\n"
              "○ deleted  ● complete  ◆ copies show here  ◐ under way\n"
              "▲ needs attention  ━ a copy that shows\n"
              "─ one that was given back  ┄ one of which not all is known\n"
              "░ a scheduled run is missing  times in UTC\n");
}

TEST_F(CTimelineTest, HasPlainSignsForATerminalWithoutOthers)
{
    fill();
    m_report.lanes[0].group.second = "Gehälter";
    EXPECT_EQ(drawn(62, true),
              "ap1/Geh?lter                          5 snapshots, oldest 10d\n"
              "*...........o...../////////////.....!...........%...........I\n"
              "  copies on backup\n"
              "-------------     ~~~~~~~                             =======\n"
              "\n"
              "|21 Jan     |23 Jan     |25 Jan     |27 Jan     |29 Jan\n"
              "o deleted  * complete  I copies show here  % under way\n"
              "! needs attention  = a copy that shows\n"
              "- one that was given back  ~ one of which not all is known\n"
              "/ a scheduled run is missing  times in UTC\n");
}

TEST_F(CTimelineTest, WhatFallsIntoOneColumnIsOneMarkThatDeservesALookMost)
{
    SReportLane& one = lane({"ap1", "g"});
    add(one, 240h);
    add(one, 2h);
    add(one, 1h, EMark::ATTENTION);
    add(one, 0h);
    EXPECT_EQ(drawn(41).substr(0, drawn(41).find("\n\n")),
              "ap1/g            4 snapshots, oldest 10d\n●······································▲");
}

TEST_F(CTimelineTest, NoLineIsWiderThanTheTerminal)
{
    fill();
    for (const std::string& name : {std::string(300, 'x'), std::string("報告書報告書報告書報告書報告書報告書"),
                                    std::string("a\x1b[31m\nb\xff")}) {
        addCopy(lane({name, name}), name, 300h, 1h, ECopyEnd::SHOWS);
        add(m_report.lanes.back(), 5h);
    }
    for (const size_t width : {0U, 40U, 41U, 57U, 80U, 81U, 133U, 400U}) {
        for (const bool isAscii : {false, true}) {
            std::istringstream lines(drawn(width, isAscii));
            for (std::string line; std::getline(lines, line);) {
                EXPECT_LT(displayWidth(line), std::max<size_t>(width, 40)) << line;
                if (isAscii) {
                    EXPECT_EQ(
                        line.find_first_not_of(" !%*-./0123456789:=?ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]_abcdefghijklmnopq"
                                               "rstuvwxyz|~,"),
                        std::string::npos)
                        << line;
                }
            }
        }
    }
}

TEST_F(CTimelineTest, NothingIsToldAsThat)
{
    EXPECT_EQ(drawn(80), "there is no such snapshot\n");
}

}  // namespace

}  // namespace fictl
