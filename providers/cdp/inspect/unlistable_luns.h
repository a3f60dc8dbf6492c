#pragma once

#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/**
 * LUNs whose copies could be made and never be imported: the listing of a time image names each LUN by device and
 * serial, and takes some characters for marks wherever they stand. In the order of appliances, groups and their LUNs.
 */
std::vector<SUnlistableLun> findUnlistable(const std::vector<SAppliance>& appliances);

}  // namespace cdpfi::inspect
