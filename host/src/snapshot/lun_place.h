#pragma once

#include <optional>
#include <string>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/provider/provider.h"

namespace fictl {

/**
 * The group in which the provider finds a LUN now, by its serial; nothing when it serves no such LUN. The provider
 * answers from what it read when it started. Must not be called while nodes of the LUN or its group are set up.
 */
std::optional<GroupKey> findLunPlace(CProvider& provider, const std::string& serial);

}  // namespace fictl
