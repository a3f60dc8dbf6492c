#include "host/src/appliance_report.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace fictl {

namespace {

constexpr std::string_view HEAD = "CLI Command [";
constexpr std::string_view MIDDLE = "] failed with error [";
constexpr std::string_view OUTPUT = "] and output \n[";
constexpr std::string_view TAIL = "]\n.";
constexpr std::string_view ECHO = "Failed to execute command";

bool containsNoCase(std::string_view text, std::string_view part)
{
    const auto same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    };
    return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end();
}

// Names stand in brackets in most lines and must not be taken for words of failure.
std::string withoutBrackets(std::string_view text)
{
    std::string outside;
    int depth = 0;
    for (const char c : text) {
        if (c == '[') ++depth;
        if (depth == 0) outside += c;
        if (c == ']' && depth > 0) --depth;
    }
    return outside;
}

bool tellsOfFailure(std::string_view text)
{
    // While it makes a snapshot a provider writes its steps at level 1, names without brackets included.
    constexpr std::string_view MAKE_STEP = "CCDPPlugin::makeSnapshots - ";
    if (text.starts_with(MAKE_STEP)) return text.substr(MAKE_STEP.size()).starts_with("failed to");
    constexpr std::array<std::string_view, 9> WORDS = {"fail",      "could not", "timed out", "time-out", "timeout",
                                                       "unhandled", "invalid",   "error",     "refus"};
    const std::string outside = withoutBrackets(text);
    return std::any_of(WORDS.begin(), WORDS.end(),
                       [&outside](std::string_view word) { return containsNoCase(outside, word); });
}

// The object that a command is about is the first name in double quotes.
std::string_view objectOf(std::string_view command)
{
    const size_t open = command.find('"');
    if (open == std::string_view::npos) return {};
    const size_t close = command.find('"', open + 1);
    return close == std::string_view::npos ? std::string_view() : command.substr(open + 1, close - open - 1);
}

// The answer must name the very object: a missing group or server says nothing about what is in it.
bool saysNotThere(const SFailedCommand& failed)
{
    const std::string_view object = objectOf(failed.command);
    return !object.empty() && containsNoCase(failed.output, "does not exist") &&
           failed.output.find(object) != std::string::npos;
}

}  // namespace

void SApplianceReport::add(const SApplianceReport& other)
{
    commands.insert(commands.end(), other.commands.begin(), other.commands.end());
    lines.insert(lines.end(), other.lines.begin(), other.lines.end());
}

bool parseFailedCommand(std::string_view text, SFailedCommand& failed)
{
    // The command may hold brackets of its own, so the middle part is looked for as a whole and from the left; the
    // output is everything up to the last two characters.
    if (!text.starts_with(HEAD) || !text.ends_with(TAIL)) return false;
    const size_t middle = text.find(MIDDLE, HEAD.size());
    if (middle == std::string_view::npos) return false;
    const size_t codeAt = middle + MIDDLE.size();
    const size_t output = text.find(OUTPUT, codeAt);
    if (output == std::string_view::npos || output + OUTPUT.size() > text.size() - TAIL.size()) return false;
    const char* const codeEnd = text.data() + output;
    long code = 0;
    const auto [end, error] = std::from_chars(text.data() + codeAt, codeEnd, code);
    if (error != std::errc() || end != codeEnd) return false;
    failed.command = text.substr(HEAD.size(), middle - HEAD.size());
    failed.code = code;
    const size_t from = output + OUTPUT.size();
    failed.output = text.substr(from, text.size() - TAIL.size() - from);
    return true;
}

SApplianceReport readReport(const std::vector<STraceLine>& trace)
{
    SApplianceReport report;
    bool lastWasCommand = false;
    for (const STraceLine& line : trace) {
        if (SFailedCommand failed; parseFailedCommand(line.text, failed)) {
            report.commands.push_back(std::move(failed));
            lastWasCommand = true;
            continue;
        }
        const bool isEcho = line.text.starts_with(ECHO) && lastWasCommand;
        lastWasCommand = false;
        if (!isEcho && tellsOfFailure(line.text)) report.lines.push_back(line.text);
    }
    return report;
}

bool confirmsDeletion(const SApplianceReport& report)
{
    return report.lines.empty() && std::all_of(report.commands.begin(), report.commands.end(), saysNotThere);
}

bool saysAlreadyThere(const SApplianceReport& report)
{
    return std::any_of(report.commands.begin(), report.commands.end(), [](const SFailedCommand& failed) {
        return containsNoCase(failed.output, "already exists") || containsNoCase(failed.output, "exists already");
    });
}

std::string oneLine(std::string_view text)
{
    std::string line;
    for (const char c : text) {
        const bool blank = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (!blank) {
            line += static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? '?' : c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    if (!line.empty() && line.back() == ' ') line.pop_back();
    return line;
}

}  // namespace fictl
