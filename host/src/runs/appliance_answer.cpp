#include "host/src/runs/appliance_answer.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

using Lines = std::vector<std::string_view>;

// Lines without the blanks around them; empty ones are left out.
Lines linesOf(std::string_view text)
{
    Lines lines;
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        while (!line.empty() && line.front() == ' ') {
            line.remove_prefix(1);
        }
        while (!line.empty() && line.back() == ' ') {
            line.remove_suffix(1);
        }
        if (!line.empty()) lines.push_back(line);
    }
    return lines;
}

/// Takes a line apart from left to right.
class CCursor
{
  public:
    explicit CCursor(std::string_view line) : m_rest(line) {}

    /// The text up to the next blank or the end.
    std::string word()
    {
        skipBlanks();
        return take(std::min(m_rest.find(' '), m_rest.size()));
    }
    /// The text between two double quotes; none when there is no such text here.
    std::optional<std::string> name()
    {
        skipBlanks();
        if (m_rest.empty() || m_rest.front() != '"') return std::nullopt;
        const size_t end = m_rest.find('"', 1);
        if (end == std::string_view::npos) return std::nullopt;
        const std::string quoted = take(end + 1);
        return quoted.substr(1, quoted.size() - 2);
    }
    std::string_view rest()
    {
        skipBlanks();
        return m_rest;
    }

  private:
    void skipBlanks()
    {
        while (!m_rest.empty() && m_rest.front() == ' ') {
            m_rest.remove_prefix(1);
        }
    }
    std::string take(size_t size)
    {
        std::string taken(m_rest.substr(0, size));
        m_rest.remove_prefix(size);
        return taken;
    }

    std::string_view m_rest;
};

// "commit" ends a command, so a second one of them would be another command's.
bool isBodyOfCreate(const Lines& lines, size_t first, size_t end)
{
    if (first == end || lines[end - 1] != "commit") return false;
    return std::all_of(lines.begin() + static_cast<Lines::difference_type>(first),
                       lines.begin() + static_cast<Lines::difference_type>(end - 1), [](std::string_view line) {
                           const std::string word = CCursor(line).word();
                           return word == "set" || word == "use" || word == "add";
                       });
}

bool isToolName(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '.' ||
               c == '-';
    });
}

// The answer is exactly this line, maybe behind the name of the tool that says so.
bool isAnswer(std::string_view output, const std::string& text)
{
    if (output.ends_with('\n')) output.remove_suffix(1);
    if (output == text) return true;
    constexpr std::string_view COLON = ": ";
    if (output.size() <= text.size() + COLON.size() || !output.ends_with(text)) return false;
    const std::string_view head = output.substr(0, output.size() - text.size());
    return head.ends_with(COLON) && isToolName(head.substr(0, head.size() - COLON.size()));
}

std::string answerText(const SObjectCommand& command, const char* what)
{
    const std::string kind = command.kind == "timeimage" ? "time image" : command.kind;
    return kind + " \"" + command.name + "\" " + what + " in group \"" + command.group + "\"";
}

}  // namespace

std::optional<SObjectCommand> objectCommandOf(const std::string& script)
{
    const Lines lines = linesOf(script);
    constexpr size_t SHORTEST = 3;  // server, command, exit
    if (lines.size() < SHORTEST || lines.back() != "exit") return std::nullopt;
    CCursor server(lines[0]);
    CCursor head(lines[1]);
    SObjectCommand command;
    if (server.word() != "server") return std::nullopt;
    command.server = server.rest();
    command.verb = head.word();
    command.kind = head.word();
    const std::optional<std::string> name = head.name();
    const std::optional<std::string> group = head.name();
    if (command.server.empty() || !name || !group || !head.rest().empty()) return std::nullopt;
    command.name = *name;
    command.group = *group;
    if (command.kind != "annotation" && command.kind != "timeimage") return std::nullopt;
    if (command.verb == "create") {
        if (!isBodyOfCreate(lines, 2, lines.size() - 1)) return std::nullopt;
        return command;
    }
    const bool isKnown = command.verb == "delete" || command.verb == "show";
    if (!isKnown || lines.size() != SHORTEST) return std::nullopt;
    return command;
}

EAnswer judge(const SRunRecord& run)
{
    if (run.result == 0) return EAnswer::DONE;
    constexpr int32_t MISSING = 3;
    constexpr int32_t EXISTS = 4;
    if (!run.endedByItself() || !run.isInputWhole() || !run.isOutputWhole()) return EAnswer::UNKNOWN;
    const std::optional<SObjectCommand> command = objectCommandOf(run.input);
    if (!command) return EAnswer::UNKNOWN;
    if (run.exitStatus == MISSING && isAnswer(run.output, answerText(*command, "does not exist"))) {
        return EAnswer::NOT_THERE;
    }
    if (run.exitStatus == EXISTS && command->verb == "create" &&
        isAnswer(run.output, answerText(*command, "exists already"))) {
        return EAnswer::EXISTS_ALREADY;
    }
    return EAnswer::UNKNOWN;
}

std::string creationTimeIn(const SRunRecord& run, const obzx_run& whole)
{
    constexpr std::string_view CREATED = "Created: ";
    const bool isWhole = run.result == 0 && run.isInputWhole() && whole.output != nullptr &&
                         std::cmp_equal(whole.output_kept, whole.output_size);
    const std::optional<SObjectCommand> command = isWhole ? objectCommandOf(run.input) : std::nullopt;
    if (!command || command->verb != "show" || command->kind != "timeimage") return {};
    std::string time;
    for (const std::string_view line : linesOf({whole.output, whole.output_kept})) {
        if (!line.starts_with(CREATED)) continue;
        if (!time.empty()) return {};
        time = line.substr(CREATED.size());
    }
    return isInstantText(time) ? time : std::string();
}

bool isHarmless(const SRunRecord& run)
{
    if (judge(run) != EAnswer::NOT_THERE) return false;
    const std::optional<SObjectCommand> command = objectCommandOf(run.input);
    return command && command->verb == "delete";
}

bool confirmsDeletion(const std::vector<SRunRecord>& runs, const std::string& appliance, const std::string& group,
                      const std::string& checkpoint)
{
    const SObjectCommand deletion{appliance, "delete", "annotation", checkpoint, group};
    const auto isFine = [](const SRunRecord& run) { return judge(run) == EAnswer::DONE || isHarmless(run); };
    const auto isDeletion = [&deletion](const SRunRecord& run) {
        return run.isInputWhole() && objectCommandOf(run.input) == deletion;
    };
    return std::all_of(runs.begin(), runs.end(), isFine) && std::any_of(runs.begin(), runs.end(), isDeletion);
}

}  // namespace fictl
