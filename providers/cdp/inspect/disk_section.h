#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/// Reads the disk utility's listing. Where it cannot be read to its end the devices are those before that place.
SDisks readDisks(const std::vector<std::string>& lines);

/// Where each LUN shows on this host: the first path in path order, which is the one that the provider takes.
class CDevicePaths
{
  public:
    explicit CDevicePaths(const SDisks& disks);
    std::optional<std::string> pathOf(const std::string& serial) const;

  private:
    std::unordered_map<std::string, std::string> m_paths;
};

}  // namespace cdpfi::inspect
