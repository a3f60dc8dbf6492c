#include "host/src/runs/appliance_report.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <system_error>

#include "host/src/runs/appliance_answer.h"

namespace fictl {

namespace {

// Enough to see what an appliance says; a listing that goes on and on is in the document as a whole.
constexpr size_t LONGEST_ANSWER = 2000;

bool isBlank(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// A line of a script with one blank between its words; those within a name stay.
std::string scriptLine(std::string_view line)
{
    std::string text;
    bool inName = false;
    for (const char c : line) {
        if (c == '"') inName = !inName;
        if (inName || !isBlank(c)) {
            text += c;
        } else if (!text.empty() && text.back() != ' ') {
            text += ' ';
        }
    }
    if (!inName && text.ends_with(' ')) text.pop_back();
    return text;
}

std::string scriptText(const SRunRecord& run)
{
    std::string text;
    std::string_view rest = run.input;
    while (!rest.empty()) {
        const std::string_view raw = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(raw.size() + 1, rest.size()));
        const std::string line = scriptLine(raw);
        const bool isClosing = line == "exit" && rest.empty() && run.isInputWhole();
        if (!line.empty() && !isClosing) text += (text.empty() ? "" : "; ") + line;
    }
    return run.isInputWhole() ? text : text + "...";
}

std::string secondsText(double seconds)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f s", seconds);
    return text.data();
}

std::string errorText(int32_t error)
{
    return std::error_code(error, std::generic_category()).message();
}

std::string stoppedLine(const SRunRecord& run)
{
    std::string text;
    switch (run.stopped) {
        case EStop::LIMIT:
            text = "no answer within " + std::to_string(run.limitSeconds) + " s: stopped";
            break;
        case EStop::OUTPUT:
            text = "answer too long (" + std::to_string(run.outputSize) + " bytes): stopped after " +
                   secondsText(run.seconds());
            break;
        default:
            text = "no answer: cancelled after " + secondsText(run.seconds());
            break;
    }
    const std::string said = shortened(run.output, run.outputSize);
    return said.empty() ? text : text + "; it had said: " + said;
}

std::string endText(const SRunRecord& run)
{
    if (run.signal != 0) {
        const char* const name = sigdescr_np(run.signal);
        return "signal " + std::to_string(run.signal) + (name == nullptr ? "" : std::string(", ") + name);
    }
    if (run.error != 0) return "exit status not known, " + errorText(run.error);
    return "exit status " + std::to_string(run.exitStatus);
}

}  // namespace

void SApplianceReport::add(const SApplianceReport& other)
{
    failed.insert(failed.end(), other.failed.begin(), other.failed.end());
    succeeded.insert(succeeded.end(), other.succeeded.begin(), other.succeeded.end());
    lost += other.lost;
    messages.insert(messages.end(), other.messages.begin(), other.messages.end());
}

std::vector<SRunRecord> SApplianceReport::blamed() const
{
    std::vector<SRunRecord> runs;
    std::copy_if(failed.begin(), failed.end(), std::back_inserter(runs),
                 [](const SRunRecord& run) { return !isHarmless(run); });
    return runs;
}

SApplianceReport reportOf(SRuns runs)
{
    SApplianceReport report;
    for (SRunRecord& run : runs.runs) {
        (run.result == 0 ? report.succeeded : report.failed).push_back(std::move(run));
    }
    report.lost = runs.lost;
    report.messages = std::move(runs.messages);
    return report;
}

bool confirmsDeletion(const SApplianceReport& report, const std::string& appliance, const std::string& group,
                      const std::string& checkpoint)
{
    if (report.lost > 0) return false;
    std::vector<SRunRecord> runs = report.succeeded;
    runs.insert(runs.end(), report.failed.begin(), report.failed.end());
    return confirmsDeletion(runs, appliance, group, checkpoint);
}

bool saysAlreadyThere(const SApplianceReport& report)
{
    return std::any_of(report.failed.begin(), report.failed.end(),
                       [](const SRunRecord& run) { return judge(run) == EAnswer::EXISTS_ALREADY; });
}

std::string commandLine(const SRunRecord& run)
{
    std::string line = run.arguments.empty() ? "a program" : run.program();
    for (size_t i = 1; i < run.arguments.size(); ++i) {
        line += " " + run.arguments[i];
    }
    const std::string script = scriptText(run);
    return script.empty() ? line : line + ": " + script;
}

std::string answerLine(const SRunRecord& run)
{
    if (run.stopped != EStop::NOT_STOPPED) return stoppedLine(run);
    if (run.process == 0) return "could not be started: " + errorText(run.error);
    const std::string said = shortened(run.output, run.outputSize);
    return "answer (" + endText(run) + ", after " + secondsText(run.seconds()) + "): " + (said.empty() ? "none" : said);
}

std::string shortened(std::string_view start, uint64_t size)
{
    std::string text = oneLine(start.substr(0, LONGEST_ANSWER));
    if (size > LONGEST_ANSWER) text += "... (" + std::to_string(size) + " bytes in all)";
    return text;
}

std::string oneLine(std::string_view text)
{
    std::string line;
    for (const char c : text) {
        if (!isBlank(c)) {
            line += static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? '?' : c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    if (!line.empty() && line.back() == ' ') line.pop_back();
    return line;
}

}  // namespace fictl
