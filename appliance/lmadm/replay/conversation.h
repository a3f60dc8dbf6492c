#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lumora {

/// Why a tool did not answer to its end.
enum class EStopped : uint8_t
{
    NO,
    STOPPED,  ///< it gave no answer in time, or nobody wanted it any more
    UNUSED,   ///< it was begun ahead, and nobody needed it: what it answered is not known
};

/// One run of a tool, as a conversation tells it.
struct SToolRun
{
    std::string command;  ///< as commandOf gives it
    double began = 0;     ///< seconds after the conversation's begin
    double ended = 0;
    std::string answer;
    bool isWhole = true;  ///< of the answer nothing is missing
    int exit = 0;
    int signal = 0;  ///< that ended it; 0 for none
    EStopped stopped = EStopped::NO;

    /// Whether it changes what others are answered.
    bool isChange() const;
    /// What it is about: its appliance, and the last name in it. A command without a name is about all of it.
    std::string target() const;
};

/// What a host has asked the tools of appliances in the course of one command, and what they answered: the file that
/// "fictl --record" writes, whose form its line of head names ("fictl-conversation", version 1).
struct SConversation
{
    std::string checkpoint;      ///< that the recording process made or would have made; ends in its process id
    std::vector<SToolRun> runs;  ///< in the order in which they began

    /// Throws status unusable with the line that is not understood.
    static SConversation read(const std::filesystem::path& file);
};

/// A command as it is compared: its lines with single blanks between words, names in quotes as they are, without empty
/// lines and the closing "exit".
std::string commandOf(const std::string& script);

/// A command on one line, for people.
std::string shownCommand(const std::string& command);

}  // namespace lumora
