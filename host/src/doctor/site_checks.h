#pragma once

#include "host/src/doctor/checks.h"

namespace fictl {

/**
 * What an inspector's document (docs/inspector.md) tells about a site: configuration, tools, this host and the
 * appliances.
 * @throw nlohmann::json::exception when the document is not what it should be
 */
Checks checkSite(const json& inspection);

}  // namespace fictl
