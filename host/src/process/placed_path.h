#pragma once

#include <string>

namespace fictl {

/// Where a path of this system lies on this host: below the folder that OBZX_ROOT names, where that is set.
std::string placedPath(const std::string& path);

}  // namespace fictl
