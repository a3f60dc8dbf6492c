#include "appliance/core/shell/command.h"

#include <algorithm>

#include "appliance/core/shell/command_table.h"
#include "appliance/core/shell/line_pattern.h"

namespace lumora {

bool SCommand::has(const SBodyLine& line) const
{
    return std::any_of(body.begin(), body.end(),
                       [&line](const SGivenLine& given) { return given.pattern == line.pattern; });
}

std::string SCommand::value(const SBodyLine& line, const std::string& otherwise) const
{
    const std::vector<std::string> all = values(line);
    return all.empty() ? otherwise : all.front();
}

std::vector<std::string> SCommand::values(const SBodyLine& line) const
{
    std::vector<std::string> all;
    for (const SGivenLine& given : body) {
        if (given.pattern == line.pattern) all.push_back(given.value);
    }
    return all;
}

std::string commandText(const SCommand& command)
{
    return fillIn(command.kind->head, command.names);
}

std::vector<std::string> commandLines(const SCommand& command)
{
    std::vector<std::string> lines = {commandText(command)};
    for (const SGivenLine& given : command.body) {
        lines.push_back(fillIn(given.pattern, {given.value}));
    }
    if (!command.kind->body.empty()) lines.emplace_back("commit");
    return lines;
}

}  // namespace lumora
