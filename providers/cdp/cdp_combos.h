#pragma once

#include <map>
#include <mutex>

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

/// The lists that this provider built, by node: a host need not have set the head of a fresh node's list to anything.
/// Any thread may call it.
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
