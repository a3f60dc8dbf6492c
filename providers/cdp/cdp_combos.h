#pragma once

#include <map>
#include <mutex>

#include "framework/include/obz_records.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

// The quiesce/split combinations of a node. Records and names come from malloc and belong to the node, so that whoever
// takes the node down can free them.

/**
 * Appends a combination at the tail of the node's list; both entries get a copy of their name, the node and its group
 * node, which may be null.
 * @return false when there is no memory; the list is then as it was
 */
bool appendCombo(obz_domain* node, const CString& quiesceName, const CString& splitName, obz_domain* group);

/// Detaches the node's list and frees it.
void releaseCombos(obz_domain* node);

/// Remembers which lists this provider built, by node. The head of a fresh node's list may hold anything, and must not
/// be freed unless it is known to be ours. Any thread may call it.
class CNodeCombos
{
  public:
    /// Leaves the node with an empty list. What stood there is freed only when it was built here.
    void startOver(obz_domain* node);
    /// As appendCombo. @throw std::bad_alloc, and the list is then as it was
    bool append(obz_domain* node, const CString& quiesceName, const CString& splitName, obz_domain* group);
    /// As releaseCombos, whoever built the list.
    void release(obz_domain* node);

  private:
    std::mutex m_mutex;
    std::map<const obz_domain*, const obz_combo*> m_heads;
};

}  // namespace cdpfi
