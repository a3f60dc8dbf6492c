// What stands in the place of the fields of a name.
#include "host/src/snapshot/name_template.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "host/src/output/error.h"

namespace fictl {

namespace {

using std::chrono::sys_days;
using namespace std::chrono_literals;

/// With summer time from the last Sunday of March to that of October.
class CNameTemplateTest : public testing::Test
{
  protected:
    void SetUp() override { setZone("CET-1CEST,M3.5.0,M10.5.0/3"); }
    void TearDown() override { setZone("UTC0"); }

    static void setZone(const char* zone)
    {
        setenv("TZ", zone, 1);  // NOLINT(concurrency-mt-unsafe)
        tzset();
    }

    std::string filled(const std::string& name) const
    {
        return filledName(name, {.now = m_now, .host = "payroll.example.com", .taken = [this] { return m_taken; }});
    }
    std::string refusal(const std::string& name) const
    {
        try {
            return "taken: " + filled(name);
        } catch (const EFictl& error) {
            EXPECT_EQ(error.exit(), EExit::USAGE);
            return error.what();
        }
    }

    UtcTime m_now = sys_days(2026y / 1 / 31) + 23h + 30min + 5s;
    std::set<std::string> m_taken;
};

TEST_F(CNameTemplateTest, DateAndTimeAreThoseOfTheLocalClock)
{
    EXPECT_EQ(filled("db-{date}"), "db-2026-02-01");
    EXPECT_EQ(filled("{date}T{time}"), "2026-02-01T00-30-05+0100");
    setZone("UTC0");
    EXPECT_EQ(filled("{date}T{time}"), "2026-01-31T23-30-05+0000");
}

TEST_F(CNameTemplateTest, AnHourThatComesTwiceGivesTwoNames)
{
    m_now = sys_days(2026y / 10 / 25) + 30min;
    EXPECT_EQ(filled("{date}T{time}"), "2026-10-25T02-30-00+0200");
    m_now += 1h;
    EXPECT_EQ(filled("{date}T{time}"), "2026-10-25T02-30-00+0100");
}

TEST_F(CNameTemplateTest, TheHostIsNamedWithoutItsDomain)
{
    EXPECT_EQ(filled("{host}-{host}.x"), "payroll-payroll.x");
}

TEST_F(CNameTemplateTest, ANumberIsOneMoreThanTheHighestThatIsThere)
{
    EXPECT_EQ(filled("db-{n}"), "db-1");
    m_taken = {"db-1", "db-9", "db-10", "db-07", "db-", "db-x", "db-11a", "adb-99", "db-12345678901234567890"};
    EXPECT_EQ(filled("db-{n}"), "db-11");
    EXPECT_EQ(filled("db-{n}a"), "db-12a");
    m_taken = {"2026-02-01.3", "2026-01-31.9"};
    EXPECT_EQ(filled("{date}.{n}"), "2026-02-01.4") << "counts for itself each day";
    m_taken = {"ab", "ab3ab"};
    EXPECT_EQ(filled("ab{n}ab"), "ab4ab") << "what stands before and behind never overlaps";
}

TEST_F(CNameTemplateTest, ANameWithoutFieldsStays)
{
    EXPECT_EQ(filled("nightly"), "nightly");
    EXPECT_EQ(filled(""), "");
}

TEST_F(CNameTemplateTest, EveryOtherBraceIsRefused)
{
    EXPECT_EQ(refusal("db-{day}"), "\"db-{day}\" cannot be a snapshot's name: {day} is not known");
    EXPECT_EQ(refusal("db-{}"), "\"db-{}\" cannot be a snapshot's name: {} is not known");
    EXPECT_EQ(refusal("db-{Date}"), "\"db-{Date}\" cannot be a snapshot's name: {Date} is not known");
    for (const char* const name : {"db-{", "db-}", "{{date}}", "{date", "date}", "{da{te}"}) {
        EXPECT_EQ(refusal(name), std::string("\"") + name + "\" cannot be a snapshot's name: a brace stands alone");
    }
    EXPECT_EQ(refusal("{n}-{n}"), "\"{n}-{n}\" cannot be a snapshot's name: {n} stands twice");
}

}  // namespace

}  // namespace fictl
