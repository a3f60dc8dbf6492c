#pragma once

#include <functional>
#include <string>

#include "appliance/core/conventions/tool.h"
#include "appliance/core/engines/engine.h"
#include "appliance/core/faults/fault_table.h"

namespace lumora {

/// One command of a tool, carried out on the given engine, null where none was given; gives the lines of its answer.
using ToolCommand = std::function<Lines(CBaseStorageEngine* engine)>;

/// Carries out a command and prints its answer on standard output, as far as the armed faults let it: may throw
/// EApplianceError without or after the effect, never return, or end the process by SIGKILL. `text` is what faults
/// match against: "APPLIANCE: COMMAND", or "HOST: kforutil WORD".
void runCommand(const CFaultTable& faults, const std::string& text, CBaseStorageEngine* engine,
                const ToolCommand& command);

}  // namespace lumora
