#pragma once

#include "appliance/lmadm/options.h"

namespace lumora {

/// Reads the command line and carries its command out; gives the exit status, also after help was asked for. `options`
/// is filled as far as the line was understood. Throws EApplianceError: malformed for a line that is not understood, or
/// what the command throws.
int runCommandLine(int argc, char** argv, SOptions& options);

}  // namespace lumora
