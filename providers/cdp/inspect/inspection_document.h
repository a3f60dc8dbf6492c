#pragma once

#include <string>

#include "providers/cdp/inspect/image_release.h"
#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/// The JSON documents that docs/inspector.md describes, every key always there. Bytes that are no UTF-8 are replaced.
std::string documentOf(const SInspection& inspection);
/// @param raw whether its commands stand in it
std::string documentOf(const SImageRelease& release, bool raw);

}  // namespace cdpfi::inspect
