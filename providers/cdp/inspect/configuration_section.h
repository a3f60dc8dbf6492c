#pragma once

#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/// Reads the files that the provider reads. A file that cannot be read is named with the reason, and the others are
/// read all the same.
SConfiguration readConfiguration();

}  // namespace cdpfi::inspect
