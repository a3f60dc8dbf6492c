#include "appliance/core/shell/script.h"

#include <charconv>
#include <initializer_list>
#include <optional>

#include "appliance/core/conventions/error.h"
#include "appliance/core/shell/script_lines.h"

namespace lumora {

namespace {

// A line matches a pattern word by word: a plain word stands for itself, "Q" for a quoted name, "W" for any one word.
constexpr std::string_view QUOTED_NAME = "Q";
constexpr std::string_view ANY_WORD = "W";
using Pattern = std::initializer_list<std::string_view>;

bool matches(const SScriptLine& line, Pattern pattern)
{
    if (line.words.size() != pattern.size()) return false;
    size_t index = 0;
    for (const std::string_view expected : pattern) {
        const SWord& word = line.words[index++];
        const bool fits = expected == ANY_WORD      ? true
                          : expected == QUOTED_NAME ? word.quoted
                                                    : !word.quoted && word.text == expected;
        if (!fits) return false;
    }
    return true;
}

std::string written(const SScriptLine& line)
{
    std::string text;
    for (const SWord& word : line.words) {
        text += (text.empty() ? "" : " ") + (word.quoted ? '"' + word.text + '"' : word.text);
    }
    constexpr size_t ENOUGH = 200;
    return text.size() <= ENOUGH ? text : text.substr(0, ENOUGH) + "...";
}

uint32_t parseTimeout(const SScriptLine& line)
{
    const std::string& word = line.words.back().text;
    uint32_t number = 0;
    const auto [rest, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || rest != word.data() + word.size()) {
        throwMalformed(line.number, "timeout " + inQuotes(word) + " is not a number of seconds");
    }
    return number;
}

// Takes the value of a setting, once.
template <class Value>
void setOnce(std::optional<Value>& setting, Value value, const SScriptLine& line)
{
    if (setting) throwMalformed(line.number, "given twice: " + written(line));
    setting = std::move(value);
}

// Consumes the lines of a script from first to last.
class CScriptReader
{
  public:
    explicit CScriptReader(std::string_view text) : m_lines(splitScript(text)) {}

    SScript read()
    {
        if (m_lines.empty()) throwMalformed(1, "the script is empty");
        SScript script;
        const SScriptLine& first = take();
        if (!matches(first, {"server", ANY_WORD})) {
            throwMalformed(first.number, "\"server NAME\" expected instead of: " + written(first));
        }
        script.server = first.words[1].text;
        while (!atEnd()) {
            const SScriptLine& line = take();
            if (matches(line, {"exit"})) {
                if (!atEnd()) throwMalformed(take().number, "text after \"exit\"");
                return script;
            }
            script.commands.push_back(command(line));
        }
        throwMalformed(m_lines.back().number, "the script ends without \"exit\"");
    }

  private:
    bool atEnd() const noexcept { return m_next == m_lines.size(); }
    const SScriptLine& take() { return m_lines[m_next++]; }

    // The next line of a command that runs up to "commit", or null at "commit".
    const SScriptLine* bodyLine(const SScriptLine& head)
    {
        if (atEnd() || matches(m_lines[m_next], {"exit"})) {
            throwMalformed(head.number, "no \"commit\" after: " + written(head));
        }
        const SScriptLine& line = take();
        return matches(line, {"commit"}) ? nullptr : &line;
    }

    [[noreturn]] static void refuse(const SScriptLine& line, const SScriptLine& head)
    {
        throwMalformed(line.number,
                       "not possible within " + written(head) + ", or \"commit\" is missing: " + written(line));
    }

    Command command(const SScriptLine& line);
    Command createAnnotation(const SScriptLine& head);
    Command createTimeImage(const SScriptLine& head);
    std::vector<SPermissionChange> permissionChanges(const SScriptLine& head);

    std::vector<SScriptLine> m_lines;
    size_t m_next = 0;
};

Command CScriptReader::command(const SScriptLine& line)
{
    const auto name = [&line](size_t index) { return line.words[index].text; };
    if (matches(line, {"list", "hosts"})) return SListHosts{};
    if (matches(line, {"list", "cgroups"})) return SListGroups{};
    if (matches(line, {"show", "host", QUOTED_NAME})) return SShowHost{name(2)};
    if (matches(line, {"show", "cgroup", QUOTED_NAME})) return SShowGroup{name(2)};
    if (matches(line, {"create", "annotation", QUOTED_NAME, QUOTED_NAME})) return createAnnotation(line);
    if (matches(line, {"delete", "annotation", QUOTED_NAME, QUOTED_NAME})) return SDeleteAnnotation{name(2), name(3)};
    if (matches(line, {"create", "timeimage", QUOTED_NAME, QUOTED_NAME})) return createTimeImage(line);
    if (matches(line, {"delete", "timeimage", QUOTED_NAME, QUOTED_NAME})) return SDeleteTimeImage{name(2), name(3)};
    if (matches(line, {"update", "timeimage", QUOTED_NAME})) return SUpdateGroup{name(2), permissionChanges(line)};
    if (matches(line, {"update", "timeimage", QUOTED_NAME, QUOTED_NAME})) {
        return SUpdateTimeImage{name(2), name(3), permissionChanges(line)};
    }
    if (matches(line, {"list", "timeimages", QUOTED_NAME})) return SListTimeImages{name(2)};
    if (matches(line, {"show", "timeimage", QUOTED_NAME, QUOTED_NAME})) return SShowTimeImage{name(2), name(3)};
    throwMalformed(line.number, "not a command: " + written(line));
}

Command CScriptReader::createAnnotation(const SScriptLine& head)
{
    std::optional<std::string> message;
    while (const SScriptLine* const line = bodyLine(head)) {
        if (!matches(*line, {"set", "message", ANY_WORD})) refuse(*line, head);
        setOnce(message, line->words[2].text, *line);
    }
    return SCreateAnnotation{head.words[2].text, head.words[3].text, message.value_or("")};
}

Command CScriptReader::createTimeImage(const SScriptLine& head)
{
    std::optional<std::string> annotation;
    std::optional<bool> preserve;
    std::optional<uint32_t> prevent;
    std::optional<uint32_t> proactive;
    STimeImageRequest request;
    while (const SScriptLine* const line = bodyLine(head)) {
        if (matches(*line, {"use", "annotation", QUOTED_NAME})) {
            setOnce(annotation, line->words[2].text, *line);
        } else if (matches(*line, {"add", "permission", QUOTED_NAME})) {
            request.hosts.push_back(line->words[2].text);
        } else if (matches(*line, {"set", "preserve", "mode", "no"}) ||
                   matches(*line, {"set", "preserve", "mode", "yes"})) {
            setOnce(preserve, line->words[3].text == "yes", *line);
        } else if (matches(*line, {"set", "prevent", "expiration", "timeout", ANY_WORD})) {
            setOnce(prevent, parseTimeout(*line), *line);
        } else if (matches(*line, {"set", "proactive", "expiration", "timeout", ANY_WORD})) {
            setOnce(proactive, parseTimeout(*line), *line);
        } else {
            refuse(*line, head);
        }
    }
    if (!annotation) throwMalformed(head.number, "no \"use annotation\" for: " + written(head));
    request.name = head.words[2].text;
    request.group = head.words[3].text;
    request.annotation = *annotation;
    request.retention = {preserve.value_or(false), prevent.value_or(0), proactive.value_or(0)};
    return SCreateTimeImage{request};
}

std::vector<SPermissionChange> CScriptReader::permissionChanges(const SScriptLine& head)
{
    std::vector<SPermissionChange> changes;
    while (const SScriptLine* const line = bodyLine(head)) {
        const bool add = matches(*line, {"add", "permission", QUOTED_NAME});
        if (!add && !matches(*line, {"delete", "permission", QUOTED_NAME})) refuse(*line, head);
        changes.push_back({add, line->words[2].text});
    }
    if (changes.empty()) throwMalformed(head.number, "nothing to commit for: " + written(head));
    return changes;
}

}  // namespace

SScript parseScript(std::string_view text)
{
    if (text.size() > MAX_SCRIPT_SIZE) {
        throwMalformed(1, "the script is longer than " + std::to_string(MAX_SCRIPT_SIZE) + " bytes");
    }
    return CScriptReader(text).read();
}

}  // namespace lumora
