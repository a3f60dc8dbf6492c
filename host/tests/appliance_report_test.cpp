#include "host/src/runs/appliance_report.h"

#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "host/src/output/error_text.h"
#include "host/tests/run_records.h"

namespace fictl {

namespace {

using namespace std::chrono_literals;

const std::string MAKE = " create  annotation \"C\" \"G  1\"\n set  message  hello \n commit ";

SApplianceReport reportOfRuns(std::vector<SRunRecord> all)
{
    return reportOf({std::move(all), 0});
}

}  // namespace

TEST(ApplianceReport, ShowsACommandOnOneLineAndKeepsBlanksInNames)
{
    EXPECT_EQ(commandLine(runs::succeeded(MAKE)),
              "lmsh: server alpha; create annotation \"C\" \"G  1\"; set message hello; commit");
    EXPECT_EQ(commandLine(runs::of("")), "lmsh");
    EXPECT_EQ(commandLine(runs::of("exit\n")), "lmsh");
    SRunRecord disks = runs::of("");
    disks.arguments = {"/usr/sbin/kforutil", "listdisk", "now"};
    EXPECT_EQ(commandLine(disks), "kforutil listdisk now");
    disks.arguments = {};
    EXPECT_EQ(commandLine(disks), "a program");
}

TEST(ApplianceReport, ShowsThatAScriptGoesOn)
{
    SRunRecord run = runs::of("server alpha\nlist hosts\nex");
    run.inputSize = 100000;
    EXPECT_EQ(commandLine(run), "lmsh: server alpha; list hosts; ex...");
}

TEST(ApplianceReport, ANameThatIsNotClosedIsShownAsItStands)
{
    EXPECT_EQ(commandLine(runs::succeeded("show host \"a  b")), "lmsh: server alpha; show host \"a  b");
    EXPECT_EQ(commandLine(runs::of("server alpha\nexit\nexit\n")), "lmsh: server alpha; exit");
}

TEST(ApplianceReport, TellsHowEachRunEnded)
{
    SRunRecord run = runs::refused(MAKE, 3, "group \"G\" does not\n  exist on appliance \"alpha\"\n");
    EXPECT_EQ(answerLine(run),
              "answer (exit status 3, after 0.02 s): group \"G\" does not exist on appliance \"alpha\"");
    run = runs::refused(MAKE, 1, "");
    EXPECT_EQ(answerLine(run), "answer (exit status 1, after 0.02 s): none");
    run = runs::refused(MAKE, 0, "half an answ");
    run.signal = SIGKILL;
    EXPECT_EQ(answerLine(run), "answer (signal 9, Killed, after 0.02 s): half an answ");
    run.signal = 60;
    EXPECT_EQ(answerLine(run), "answer (signal 60, after 0.02 s): half an answ");
    run = runs::refused(MAKE, 0, "");
    run.error = ECHILD;
    EXPECT_EQ(answerLine(run), "answer (exit status not known, No child processes, after 0.02 s): none");
    run.process = 0;
    run.error = ENOENT;
    EXPECT_EQ(answerLine(run), "could not be started: No such file or directory");
    run.error = EACCES;
    EXPECT_EQ(answerLine(run), "could not be started: Permission denied");
}

TEST(ApplianceReport, TellsWhyAProgramWasStopped)
{
    SRunRecord run = runs::timedOut(MAKE);
    EXPECT_EQ(answerLine(run), "no answer within 60 s: stopped");
    run.output = "connecting\n";
    run.outputSize = run.output.size();
    EXPECT_EQ(answerLine(run), "no answer within 60 s: stopped; it had said: connecting");
    run = runs::timedOut(MAKE);
    run.stopped = EStop::CANCEL;
    run.duration = 1200ms;
    EXPECT_EQ(answerLine(run), "no answer: cancelled after 1.20 s");
    run.stopped = EStop::OUTPUT;
    run.outputSize = 268435457;
    run.output = "x";
    EXPECT_EQ(answerLine(run),
              "answer too long (268435457 bytes): stopped after 1.20 s; it had said: x... (268435457 bytes "
              "in all)");
}

TEST(ApplianceReport, CutsALongAnswerAndSaysSo)
{
    const std::string answer(5000, 'x');
    EXPECT_EQ(answerLine(runs::refused(MAKE, 1, answer)),
              "answer (exit status 1, after 0.02 s): " + answer.substr(0, 2000) + "... (5000 bytes in all)");
}

TEST(ApplianceReport, TextNamesEachFailedCommandWithItsAnswer)
{
    SApplianceReport report =
        reportOfRuns({runs::succeeded("list hosts"), runs::refused("list cgroups", 7, "no store\n"),
                      runs::timedOut("delete annotation \"C\" \"G\"")});
    report.messages = {"The array\nis not there"};
    report.lost = 2;
    EXPECT_EQ(reportText(report),
              "  appliance command: lmsh: server alpha; list cgroups\n"
              "  answer (exit status 7, after 0.02 s): no store\n"
              "  appliance command: lmsh: server alpha; delete annotation \"C\" \"G\"\n"
              "  no answer within 60 s: stopped\n"
              "  and 2 commands more, of which nothing was kept\n"
              "  reported: The array is not there\n");
    EXPECT_EQ(reportText({}), "");
}

TEST(ApplianceReport, AHarmlessCommandIsNeverBlamed)
{
    const SRunRecord harmless =
        runs::refused("delete timeimage \"T\" \"G\"", 3, "lmsh: time image \"T\" does not exist in group \"G\"\n");
    const SApplianceReport report = reportOfRuns({harmless, runs::timedOut("delete annotation \"C\" \"G\"")});
    EXPECT_EQ(report.failed.size(), 2U);
    EXPECT_EQ(reportText(report),
              "  appliance command: lmsh: server alpha; delete annotation \"C\" \"G\"\n"
              "  no answer within 60 s: stopped\n");
    EXPECT_EQ(reportText(reportOfRuns({harmless})), "");
}

TEST(ApplianceReport, ControlCharactersDoNotReachTheTerminal)
{
    const SApplianceReport report = reportOfRuns({runs::refused("list hosts", 1, "a\x1b[31mb\tc\x80")});
    EXPECT_EQ(reportText(report),
              "  appliance command: lmsh: server alpha; list hosts\n"
              "  answer (exit status 1, after 0.02 s): a?[31mb c\\x80\n");
}

TEST(ApplianceReport, DocumentHoldsEveryFieldOfAFailedCommand)
{
    SRunRecord refused = runs::refused("list cgroups", 7, "no\nstore\n");
    refused.entryPoint = "init";
    SRunRecord missing = runs::of("");
    missing.result = 11;
    missing.process = 0;
    missing.error = ENOENT;
    const json error = errorJson(
        EFictl(EExit::FAILED, "x").withReport(reportOfRuns({refused, runs::timedOut("list hosts"), missing})));
    EXPECT_EQ(error["commands"], json::parse(R"([
        {"program": "/opt/appliance/lmsh", "command": "lmsh: server alpha; list cgroups", "entry_point": "init",
         "code": 7, "signal": null, "error": null, "stopped": null, "seconds": 0.02, "limit_seconds": 60,
         "output": "no\nstore\n"},
        {"program": "/opt/appliance/lmsh", "command": "lmsh: server alpha; list hosts", "entry_point": "",
         "code": null, "signal": 15, "error": null, "stopped": "limit", "seconds": 60.0, "limit_seconds": 60,
         "output": ""},
        {"program": "/opt/appliance/lmsh", "command": "lmsh", "entry_point": "",
         "code": null, "signal": null, "error": "No such file or directory", "stopped": null, "seconds": null,
         "limit_seconds": 60, "output": ""}])"));
    EXPECT_EQ(error["details"], json::array());
}

TEST(ApplianceReport, AddsReportsInOrder)
{
    SApplianceReport report = reportOf({{runs::refused("a", 1, "")}, 1, {"m"}});
    EXPECT_FALSE(report.empty());
    report.add(reportOf({{runs::refused("b", 2, ""), runs::succeeded("c")}, 2, {"n"}}));
    ASSERT_EQ(report.failed.size(), 2U);
    EXPECT_EQ(report.failed[1].exitStatus, 2);
    EXPECT_EQ(report.succeeded.size(), 1U);
    EXPECT_EQ(report.lost, 3U);
    EXPECT_EQ(report.messages, (std::vector<std::string>{"m", "n"}));
}

TEST(ApplianceReport, LongMessageIsCutForPeopleAndSaysHowLongItIs)
{
    SApplianceReport report;
    report.messages = {std::string(2000, 'x'), std::string(2001, 'y')};
    EXPECT_EQ(reportText(report), "  reported: " + std::string(2000, 'x') + "\n  reported: " + std::string(2000, 'y') +
                                      "... (2001 bytes in all)\n");
}

TEST(ApplianceReport, RunsThatSucceededAreNothingToReport)
{
    EXPECT_TRUE(reportOfRuns({runs::succeeded("list hosts")}).empty());
    EXPECT_FALSE(reportOf({{}, 1}).empty());
}

}  // namespace fictl
