#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/shell/command.h"

namespace lumora {

/// A whole script: commands for one appliance.
struct SScript
{
    std::string server;
    std::vector<SCommand> commands;
};

/// Longest script that is read.
constexpr size_t MAX_SCRIPT_SIZE = size_t{1} << 20U;

/// Reads a whole script:
///
///   script   = "server" name  { command }  "exit"
///   command  = head  [ { body line }  "commit" ]
///
/// with the heads and body lines of commandKinds(). Each line of the grammar stands on a line of its own; words are
/// separated by blanks and tabs, names stand in double quotes, a lone word may be quoted too. Empty lines do not count.
/// How often a body line may be given is said in the table.
///
/// Throws status malformed, "line N: ..." in the text: also for a script that ends without "exit", so that one that was
/// cut off changes nothing.
SScript parseScript(std::string_view text);

}  // namespace lumora
