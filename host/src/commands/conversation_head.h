#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/src/commands/command_line.h"

namespace fictl {

/// How a conversation begins.
struct SConversationBegin
{
    nlohmann::json head;
    std::vector<std::string> secrets;  ///< what is to be hidden in what the command prints
};

/// What a command begins with, as the head of its conversation tells it: its words; this process and the checkpoint
/// that it would make; the provider with the text of its configuration; this host's name; and the rows of the catalog
/// (null where it cannot be read), "true" in the place of the thaw command of a record, and of each of the secrets.
SConversationBegin beginConversation(nlohmann::json words, const std::string& provider,
                                     std::vector<std::string> secrets = {});

/// The words of a command line without --record, "true" for the value of each option that may hold a password.
nlohmann::json recordedWords(int argc, char** argv, const SCommandLine& line);

}  // namespace fictl
