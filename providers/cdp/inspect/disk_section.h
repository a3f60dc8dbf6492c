#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "providers/cdp/inspect/inspection.h"
#include "providers/cdp/inspect/tool_runner.h"

namespace cdpfi::inspect {

/// Reads the disk utility's listing. When a line cannot be read, the devices before it are given, and the reason.
SDisks readDisks(const std::vector<std::string>& lines);
/// The same for an answer, which may have failed or lost its end.
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
