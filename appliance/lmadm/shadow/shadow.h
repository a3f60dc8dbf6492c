#pragma once

#include "appliance/core/store/store.h"
#include "appliance/lmadm/output.h"

namespace lumora {

/**
 * Fills a store with what an inspector has told of other appliances (docs/inspector.md), so that commands can be tried
 * there: appliances, hosts, groups, LUNs with their serials, annotations and time images with their times, serials and
 * grants. LUNs are small and read as zeros. A group that was not told in full, or holds what this appliance cannot
 * have, is among the unknown ones; of it there may be a part in the store. Throws nlohmann::json::exception for a
 * document that is none.
 *
 * Gives {"host": the name that an appliance has for the inspector's host, or null, "paths": [{"shadow", "path"}] where
 * that host sees the LUNs, "unknown": [{"appliance", "group" (null: all of it), "reason"}]}.
 */
Json fillShadow(CStore& store, const Json& inspection);

}  // namespace lumora
