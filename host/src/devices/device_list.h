#pragma once

#include <string>
#include <vector>

#include "host/src/inspection/inspection.h"
#include "host/src/output/result.h"

namespace fictl {

/// A disk of this host, and what it is on the appliances.
struct SListedDisk
{
    std::string path;
    std::string serial;
    std::string appliance;  ///< empty when it is in no group
    std::string group;
    std::string image;   ///< time image that it is part of; empty for a LUN itself
    std::string reason;  ///< why no snapshot of it can be taken; empty when it can
};

/// Every disk that the inspection found on this host, in order of the paths as people count.
/// @param provider its name
std::vector<SListedDisk> listDisks(const SInspection& inspection, const std::string& provider);

json devicesJson(const std::vector<SListedDisk>& disks);
Rows deviceRows(const std::vector<SListedDisk>& disks);

}  // namespace fictl
