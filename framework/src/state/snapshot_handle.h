#pragma once

#include "framework/include/cfisessionmgr.h"
#include "framework/include/obz_records.h"

namespace obzx_pdk_4_4 {

/// Fills an empty handle with every node of the session that is made but not yet updated, in name order, and marks
/// those updated. False when there is no memory: the handle stays empty and no node is marked.
bool fillSnapshotHandle(CFiSession& session, obz_snaphandle& handle);

}  // namespace obzx_pdk_4_4
