#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "providers/cdp/inspect/inspection.h"
#include "providers/cdp/inspect/tool_runner.h"

namespace cdpfi::inspect {

/// Reads the disk utility's listing. Where it cannot be read to its end the devices are those before that place.
SDisks readDisks(const std::vector<std::string>& lines);
/// The same of an answer, which may be none or have lost its end.
SDisks readDisks(const SAnswer& answer);

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
