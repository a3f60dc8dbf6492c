#pragma once

#include <nlohmann/json_fwd.hpp>

#include "host/src/commands/command_line.h"

namespace fictl {

/// What a command begins with, as the head of its conversation tells it: its words without --record, "true" for the
/// value of each option that may hold a password, and for the thaw command of a record; this process and the checkpoint
/// that it would make; the provider with the text of its configuration; this host's name; and the rows of the catalog
/// (null where it cannot be read).
nlohmann::json conversationHead(int argc, char** argv, const SCommandLine& line);

}  // namespace fictl
