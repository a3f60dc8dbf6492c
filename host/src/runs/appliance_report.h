#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/src/runs/run_log.h"

namespace fictl {

/// What came back while one step of a provider ran: from the runtime what became of the programs that it ran, from the
/// provider the messages of its error stack. What a provider traces is for people and is not looked at.
struct SApplianceReport
{
    std::vector<SRunRecord> failed;     ///< runs with a result other than 0, in order
    std::vector<SRunRecord> succeeded;  ///< the others, in order, without their output
    size_t lost = 0;                    ///< further runs of which nothing more is known
    std::vector<std::string> messages;  ///< in the host's language where the provider has it

    /// True when nothing failed and nothing was said.
    bool empty() const { return failed.empty() && messages.empty() && lost == 0; }
    void add(const SApplianceReport& other);
    /// The failed runs without those that are harmless: they are no reason for anything.
    std::vector<SRunRecord> blamed() const;
};

/// Sorts the runs by what became of them.
SApplianceReport reportOf(SRuns runs);

/// True when nothing else can have happened than that the appliance has the checkpoint and its image no more, see
/// confirmsDeletion in host/src/runs/appliance_answer.h.
bool confirmsDeletion(const SApplianceReport& report, const std::string& appliance, const std::string& group,
                      const std::string& checkpoint);

/// True when a command was refused because its object is there already.
bool saysAlreadyThere(const SApplianceReport& report);

/// The command on one line: program and arguments, and the script given to it without its closing exit, such as
///     lmsh: server alpha; delete annotation "a" "g"
std::string commandLine(const SRunRecord& run);

/// How the run ended, and what it said, on one line:
///     answer (exit status 3, after 0.02 s): group "g" does not exist on appliance "alpha"
///     answer (signal 9, Killed, after 0.02 s): none
///     no answer within 60 s: stopped
///     no answer: cancelled after 1.20 s
///     answer too long (268435457 bytes): stopped after 1.20 s
///     could not be started: No such file or directory
/// What a stopped program had written follows as "; it had said: ...".
std::string answerLine(const SRunRecord& run);

/// The beginning of a text on one line, and how long the whole is where that is more.
/// @param start of the text
/// @param size of the whole in bytes
std::string shortened(std::string_view start, uint64_t size);

/// The text on one line, runs of blanks and newlines as one blank, for messages.
std::string oneLine(std::string_view text);

}  // namespace fictl
