#pragma once

#include "framework/include/obz_records.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// The quiesce/split combinations of a node: malloc memory, because the records belong to the node.

/**
 * Appends a combination at the tail of the node's list; both entries get a copy of their name, the node and its group
 * node, which may be null.
 * @return false when there is no memory; the list is then as it was
 */
bool appendCombo(obz_domain* node, const CString& quiesceName, const CString& splitName, obz_domain* group);

/// Detaches the node's list and frees it.
void releaseCombos(obz_domain* node);

}  // namespace cdpfi
