#pragma once

#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// Names of all that lies in a folder, in no order; none when it cannot be read. The standard library's own iterator
/// ends the process when it finds no memory; this throws std::bad_alloc.
std::vector<std::string> folderNames(const std::string& folder);

}  // namespace obzx_pdk_4_4
