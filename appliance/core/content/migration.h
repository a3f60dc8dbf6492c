#pragma once

#include <string>

#include "appliance/core/catalog/inventory.h"

namespace lumora {

/// Moves the data of all LUNs of an appliance to another engine: copies it beside what is there, lists it as the
/// appliance's in one step, and drops the old data. Names, serials, presentations and device paths stay. Nobody may
/// write to the LUNs meanwhile; they are detached from this host. Status in use while there are annotations or time
/// images, malformed for the engine that keeps the appliance already. One that is killed before the step has changed
/// nothing.
void migrateAppliance(CStore& store, const SAppliance& appliance, const std::string& engine);

}  // namespace lumora
