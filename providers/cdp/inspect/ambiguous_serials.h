#pragma once

#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/**
 * Serials that lead to more than one group: the provider looks a device up by its serial, first among the names of the
 * groups and then among their LUNs, appliance by appliance, and takes the first group that fits.
 *
 * A serial is ambiguous when the groups of that name and the groups with that LUN are more than one, and when a disk of
 * this host that is in no group has the name of one. In the order of the serials.
 */
std::vector<SAmbiguousSerial> findAmbiguous(const std::vector<SAppliance>& appliances, const SDisks& disks);

}  // namespace cdpfi::inspect
