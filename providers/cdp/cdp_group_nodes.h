#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>

#include "framework/include/obz_records.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// The group node of each consistency group, by the group's name. Nodes are the host's. Any thread may call it.
class CGroupNodes
{
  public:
    /// Enters a node under a name, in place of an older one.
    void enter(const CString& group, obz_domain* node);
    /// The node of a group; a name that is not there is entered with a null node.
    obz_domain* find(const CString& group);
    void erase(const CString& group);  ///< nothing for a name that is not there
    /// Takes out every group that the node is entered for, and those whose entry has no node.
    void eraseNode(const obz_domain* node);
    size_t size() const;

  private:
    void forgetName(const obz_domain* node, const std::string& name);
    void eraseNamesOf(const obz_domain* node);

    mutable std::mutex m_mutex;
    std::map<std::string, obz_domain*, std::less<>> m_nodes;
    // The names that each node is entered for, the null node too: every node of a host is taken down some time, and
    // looking through all groups for each would take the longer the more there are of both.
    std::unordered_map<const obz_domain*, std::set<std::string>> m_names;
};

}  // namespace cdpfi
