#pragma once

/*
 * Sessions, as a provider's source includes them.
 *
 * From the runtime, through this header: the sessions and their manager, the split nodes and the phases of a snapshot
 * (framework/include/cfisessionmgr.h). The session manager of this provider is
 * CFiContextSingleton<CFiSessionManager, FI_PLUGIN_NAME>::instance(); a plug-in is given it as m_sessionManager.
 *
 * Of the glue: what every call on split nodes does with its two ways of naming them.
 */

#include <cstdint>

#include "framework/include/cfisessionmgr.h"
#include "pdk/include/cfipluginname.h"

namespace obzx_pdk_4_4 {

/**
 * The nodes that a call on split nodes is about: when the list is null, its count 0 and the single node is there, a
 * list of that one node, which lives in this object; otherwise the list and count as they were given.
 */
class FI_PRIVATE CFiNodeArgument
{
  public:
    /// Nothing is copied: the arguments must outlive the object.
    CFiNodeArgument(obz_splitnode* single, obz_splitnode** nodes, int32_t count)
        : m_single(single),
          m_useSingle(nodes == nullptr && count == 0 && single != nullptr),
          m_nodes(nodes),
          m_count(count)
    {
    }
    CFiNodeArgument(const CFiNodeArgument&) = delete;
    CFiNodeArgument& operator=(const CFiNodeArgument&) = delete;

    obz_splitnode** nodes() { return m_useSingle ? &m_single : m_nodes; }
    int32_t count() const { return m_useSingle ? 1 : m_count; }
    /// Whether an entry, its node or the node's name is null. A null list has no gap, whatever its count: it is passed
    /// on, as an operation of the provider may know what is meant.
    bool hasGap() { return nodes() != nullptr && !isWholeNodeList(nodes(), count()); }

  private:
    obz_splitnode* m_single;
    bool m_useSingle;
    obz_splitnode** m_nodes;
    int32_t m_count;
};

}  // namespace obzx_pdk_4_4
