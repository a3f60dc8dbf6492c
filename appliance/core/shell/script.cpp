#include "appliance/core/shell/script.h"

#include <utility>

#include "appliance/core/shell/command_table.h"
#include "appliance/core/shell/line_pattern.h"
#include "appliance/core/shell/script_lines.h"

namespace lumora {

namespace {

bool isLine(const SScriptLine& line, std::string_view pattern)
{
    return matchLine(pattern, line).has_value();
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

// Enters a line between the head of a command and its "commit".
void addBodyLine(SCommand& command, const SScriptLine& line, const SScriptLine& head)
{
    for (const SBodyLine& allowed : command.kind->body) {
        const auto values = matchLine(allowed.pattern, line);
        if (!values) continue;
        const bool mayStandAgain = allowed.occurs == EOccurs::REPEATED || allowed.occurs == EOccurs::CHANGE;
        if (!mayStandAgain && command.has(allowed)) throwMalformed(line.number, "given twice: " + written(line));
        command.body.push_back({allowed.pattern, values->front()});
        return;
    }
    throwMalformed(line.number,
                   "not possible within " + written(head) + ", or \"commit\" is missing: " + written(line));
}

// Refuses a command that lacks a line.
void checkBody(const SCommand& command, const SScriptLine& head)
{
    bool needsChange = false;
    bool hasChange = false;
    for (const SBodyLine& allowed : command.kind->body) {
        if (allowed.occurs == EOccurs::REQUIRED && !command.has(allowed)) {
            throwMalformed(head.number, "no \"" + keywordsOf(allowed.pattern) + "\" for: " + written(head));
        }
        if (allowed.occurs != EOccurs::CHANGE) continue;
        needsChange = true;
        hasChange = hasChange || command.has(allowed);
    }
    if (needsChange && !hasChange) throwMalformed(head.number, "nothing to commit for: " + written(head));
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
        const auto server = matchLine("server NAME", first);
        if (!server) throwMalformed(first.number, "\"server NAME\" expected instead of: " + written(first));
        script.server = server->front();
        while (!atEnd()) {
            const SScriptLine& line = take();
            if (isLine(line, "exit")) {
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

    SCommand command(const SScriptLine& head)
    {
        for (const SCommandKind& kind : commandKinds()) {
            auto names = matchLine(kind.head, head);
            if (!names) continue;
            SCommand command = {&kind, std::move(*names), {}};
            if (!kind.body.empty()) readBody(command, head);
            return command;
        }
        throwMalformed(head.number, "not a command: " + written(head));
    }

    void readBody(SCommand& command, const SScriptLine& head)
    {
        for (;;) {
            if (atEnd() || isLine(m_lines[m_next], "exit")) {
                throwMalformed(head.number, "no \"commit\" after: " + written(head));
            }
            const SScriptLine& line = take();
            if (isLine(line, "commit")) break;
            addBodyLine(command, line, head);
        }
        checkBody(command, head);
    }

    std::vector<SScriptLine> m_lines;
    size_t m_next = 0;
};

}  // namespace

SScript parseScript(std::string_view text)
{
    if (text.size() > MAX_SCRIPT_SIZE) {
        throwMalformed(1, "the script is longer than " + std::to_string(MAX_SCRIPT_SIZE) + " bytes");
    }
    return CScriptReader(text).read();
}

}  // namespace lumora
