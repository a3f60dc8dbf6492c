#include "host/src/output/error_text.h"

#include <nlohmann/json.hpp>
#include <system_error>

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

json numberOrNull(int32_t number, bool isKnown)
{
    return isKnown ? json(number) : json();
}

json runJson(const SRunRecord& run)
{
    const bool isStarted = run.process != 0;
    return {{"program", run.arguments.empty() ? json() : json(run.arguments.front())},
            {"command", commandLine(run)},
            {"entry_point", run.entryPoint},
            {"code", numberOrNull(run.exitStatus, run.endedByItself())},
            {"signal", numberOrNull(run.signal, run.signal != 0)},
            {"error", run.error == 0 ? json() : json(std::generic_category().message(run.error))},
            {"stopped", textOrNull(stopText(run.stopped))},
            {"seconds", isStarted ? json(run.seconds()) : json()},
            {"limit_seconds", run.limitSeconds},
            {"output", run.output}};
}

}  // namespace

json errorJson(const EFictl& error)
{
    json commands = json::array();
    for (const SRunRecord& run : error.report().blamed()) {
        commands.push_back(runJson(run));
    }
    json document = {{"exit", static_cast<int>(error.exit())},
                     {"code", exitName(error.exit())},
                     {"message", error.what()},
                     {"next", textOrNull(error.next())},
                     {"commands", commands},
                     {"details", error.report().messages}};
    if (error.frozenSeconds() > 0) document["frozen_seconds"] = error.frozenSeconds();
    return document;
}

std::string reportText(const SApplianceReport& report)
{
    std::string text;
    for (const SRunRecord& run : report.blamed()) {
        text += "  appliance command: " + printable(commandLine(run)) + "\n  " + printable(answerLine(run)) + "\n";
    }
    if (report.lost > 0) text += "  and " + std::to_string(report.lost) + " commands more, of which nothing was kept\n";
    for (const std::string& message : report.messages) {
        text += "  reported: " + printable(shortened(message, message.size())) + "\n";
    }
    return text;
}

std::string errorText(const EFictl& error)
{
    std::string text = "fictl: " + std::string(error.what()) + "\n" + reportText(error.report());
    if (error.frozenSeconds() > 0) text += "  frozen: the application for " + secondsText(error.frozenSeconds()) + "\n";
    if (!error.next().empty()) text += "  next: " + error.next() + "\n";
    return text;
}

}  // namespace fictl
