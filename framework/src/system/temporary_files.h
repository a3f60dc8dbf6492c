#pragma once

#include <string>

namespace obzx_pdk_4_4 {

/// What the names of this process's temporary files hold behind their prefix: it tells the machine's run, the process
/// and its start from all others.
std::string temporaryFileMark();

/// Removes what processes of this user left in a folder when they were killed: regular files with the prefix and a mark
/// whose process is gone. Others, and those of other machines and containers that share the folder, stay.
void removeLeftTemporaryFiles(const std::string& folder, const std::string& prefix);

}  // namespace obzx_pdk_4_4
