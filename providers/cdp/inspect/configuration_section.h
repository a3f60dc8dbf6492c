#pragma once

#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/// Reads what the provider reads. A file that is not there, or is none, is told and costs nothing else.
SConfiguration readConfiguration();

}  // namespace cdpfi::inspect
