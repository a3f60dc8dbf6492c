#pragma once

#include <string>
#include <vector>

#include "appliance/core/conventions/tool.h"
#include "appliance/core/hosts/disk_table.h"

namespace lumora {

/// Two heading lines, a line of 122 "=", then one disk a line:
/// PATH (LUMORA) (VDISK) (SIZE) (SERIAL) online rw
/// One line that says so when there is no disk.
Lines listDisks(const std::string& host, const std::vector<SDisk>& disks);

}  // namespace lumora
