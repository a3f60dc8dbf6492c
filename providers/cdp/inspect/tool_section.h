#pragma once

#include "providers/cdp/inspect/inspection.h"
#include "providers/cdp/inspect/tool_runner.h"

namespace cdpfi::inspect {

/// The configured shell, the shell at the fixed place that the provider insists on, and the disk utility.
std::vector<STool> describeTools(const CToolRunner& runner, const SToolUse& shell, const SToolUse& utility);

}  // namespace cdpfi::inspect
