#pragma once

#include "providers/cdp/inspect/inspection.h"
#include "providers/cdp/inspect/tool_runner.h"

namespace cdpfi::inspect {

/// Asks one appliance for everything, with commands that list and show and no others. Once a command got no answer the
/// others are not tried, so that an appliance that hangs costs one time limit. @throw std::bad_alloc
SAppliance askAppliance(CToolRunner& runner, const std::string& name, const SInspectOptions& options);

}  // namespace cdpfi::inspect
