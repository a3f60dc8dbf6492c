#include "host/src/appliance_report.h"

#include <gtest/gtest.h>

namespace fictl {

namespace {

STraceLine failedLine(const std::string& command, const std::string& code, const std::string& output)
{
    return {2, "CLI Command [" + command + "] failed with error [" + code + "] and output \n[" + output + "]\n."};
}

const std::string REMOVE = " delete  annotation \"KSV_Check_Point_7\" \"cg1\"";

}  // namespace

TEST(ApplianceReport, ReadsCommandCodeAndOutput)
{
    SFailedCommand failed;
    ASSERT_TRUE(
        parseFailedCommand(failedLine(" create  annotation \"a]b\" \"g\"\n commit ", "-3", "no [group]").text, failed));
    EXPECT_EQ(failed.command, " create  annotation \"a]b\" \"g\"\n commit ");
    EXPECT_EQ(failed.code, -3);
    EXPECT_EQ(failed.output, "no [group]");
    ASSERT_TRUE(parseFailedCommand(failedLine("c", "1", "").text, failed));
    EXPECT_EQ(failed.output, "");
}

TEST(ApplianceReport, DoesNotTakeOtherLinesForCommands)
{
    SFailedCommand failed;
    const std::string good = failedLine("c", "1", "o").text;
    for (size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(parseFailedCommand(good.substr(0, length), failed)) << length;
    }
    EXPECT_FALSE(parseFailedCommand(failedLine("c", "x", "o").text, failed));
    EXPECT_FALSE(parseFailedCommand(failedLine("c", "", "o").text, failed));
    EXPECT_FALSE(parseFailedCommand(failedLine("c", "99999999999999999999", "o").text, failed));
    EXPECT_FALSE(parseFailedCommand("CLI Command [] failed with error [1] and output \n[]\n.x", failed));
    // The brackets of the output must not be the tail's.
    EXPECT_FALSE(parseFailedCommand("CLI Command [c] failed with error [1] and output \n]\n.", failed));
}

TEST(ApplianceReport, DropsTheEchoAndInformation)
{
    const SApplianceReport report = readReport({
        {1, "CCDPPlugin::makeSnapshots - working with Node name <cdpfi>failover"},
        {1, "CCDPPlugin::initAltNode- device [fail] has target [error]"},
        failedLine("c", "3", "o"),
        {1, "Failed to execute command [c]"},
        {1, "CCDPPlugin::makeSnapshots - failed to create annotation for consistency group [cg1]."},
    });
    ASSERT_EQ(report.commands.size(), 1U);
    ASSERT_EQ(report.lines.size(), 1U);
    EXPECT_EQ(report.lines[0], "CCDPPlugin::makeSnapshots - failed to create annotation for consistency group [cg1].");
}

TEST(ApplianceReport, KeepsAFailureWithoutACommand)
{
    const SApplianceReport report = readReport({{1, "Failed to execute command"}});
    ASSERT_EQ(report.lines.size(), 1U);
    EXPECT_FALSE(confirmsDeletion(report));
}

TEST(ApplianceReport, ConfirmsADeletionWhenNothingFailedOrTheObjectIsNotThere)
{
    const std::string there = "annotation \"KSV_Check_Point_7\" does not exist in group \"cg1\"";
    EXPECT_TRUE(confirmsDeletion(readReport({})));
    EXPECT_TRUE(confirmsDeletion(readReport({failedLine(REMOVE, "3", there), {1, "Failed to execute command"}})));
    EXPECT_FALSE(confirmsDeletion(readReport({failedLine(REMOVE, "5", "annotation is in use")})));
    EXPECT_FALSE(confirmsDeletion(readReport({failedLine(REMOVE, "3", "group \"cg1\" does not exist")})));
    EXPECT_FALSE(confirmsDeletion(readReport({failedLine(REMOVE, "3", "appliance \"ap1\" does not exist")})));
    EXPECT_FALSE(confirmsDeletion(readReport({failedLine("no name in it", "3", "x does not exist")})));
    EXPECT_FALSE(confirmsDeletion(readReport({failedLine(REMOVE, "3", there), failedLine(REMOVE, "1", "busy")})));
    EXPECT_FALSE(confirmsDeletion(readReport({failedLine(REMOVE, "3", there), {1, "The command timed out"}})));
}

TEST(ApplianceReport, KnowsANameThatIsTaken)
{
    EXPECT_TRUE(saysAlreadyThere(readReport({failedLine("c", "4", "annotation \"a\" exists already in group \"g\"")})));
    EXPECT_TRUE(saysAlreadyThere(readReport({failedLine("c", "4", "a already exists")})));
    EXPECT_FALSE(saysAlreadyThere(readReport({failedLine("c", "4", "a does not exist")})));
}

TEST(ApplianceReport, ShowsACommandOnOneLine)
{
    EXPECT_EQ(oneLine(" create  x\n commit \x01"), "create x commit ?");
}

}  // namespace fictl
