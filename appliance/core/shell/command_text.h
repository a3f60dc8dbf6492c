#pragma once

#include <string>

#include "appliance/core/shell/script.h"

namespace lumora {

/// The keyword line of a command, in its plainest spelling: `create annotation "A" "G"`.
std::string commandText(const Command& command);

}  // namespace lumora
