#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fictl {

/// One trace line of a provider.
struct STraceLine
{
    int level;
    std::string text;
};

/// An appliance command that failed.
struct SFailedCommand
{
    std::string command;  ///< as it was sent; may hold newlines
    long code = 0;        ///< exit status of the appliance's tool
    std::string output;   ///< what the appliance answered
};

/// What a provider reported while one step ran.
struct SApplianceReport
{
    std::vector<SFailedCommand> commands;  ///< failed appliance commands, in order
    std::vector<std::string> lines;        ///< other lines that tell of a failure
    bool empty() const { return commands.empty() && lines.empty(); }
    void add(const SApplianceReport& other);
};

/**
 * Reads a provider's trace lines of levels 1 and 2 and messages of its error stack.
 *
 * The line of a failed command reads
 *     CLI Command [<command>] failed with error [<code>] and output <newline>[<text>]<newline>.
 * The line "Failed to execute command", which the operation that sent it writes afterwards, adds nothing and is
 * dropped. Information that a provider writes at these levels is dropped too: only lines that tell of a failure are
 * kept.
 */
SApplianceReport readReport(const std::vector<STraceLine>& trace);

/// True and the command when the text is the line of a failed command.
bool parseFailedCommand(std::string_view text, SFailedCommand& failed);

/// True when nothing failed, or when every failed command was refused because the object it names is not there (any
/// more). A failure that is not a refused command, for example a time-out, is never a confirmation.
bool confirmsDeletion(const SApplianceReport& report);

/// True when a command was refused because its object is there already.
bool saysAlreadyThere(const SApplianceReport& report);

/// The command on one line, runs of blanks and newlines as one blank, for messages.
std::string oneLine(std::string_view text);

}  // namespace fictl
