#pragma once

#include "host/src/catalog/history_entry.h"
#include "host/src/output/result.h"

namespace fictl {

/// "ended", "running" or "did not end".
const char* historyState(const SHistoryEntry& entry);
/// An entry as "fictl history" gives it.
json historyJson(const SHistoryEntry& entry);

}  // namespace fictl
