#pragma once

#include <ace/SString.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "framework/include/cfitrace.h"
#include "framework/include/obz_records.h"

namespace obzx_pdk_4_4 {

/// Phases of a snapshot, as getSplitNodeList counts them.
enum ESnapshotPhase : int
{
    PHASE_SELECT = 1,
    PHASE_PREPARE = 2,
    PHASE_MAKE = 3,
    PHASE_UPDATE = 4
};

/// One node of a session and how far it has come; a flag of 0 means that the phase was not done yet. Copies are whole.
/// @throw std::bad_alloc
struct OBZX_API CFiSplitNode
{
    CFiSplitNode() = default;
    CFiSplitNode(const CFiSplitNode& other);
    CFiSplitNode& operator=(const CFiSplitNode& other);

    /// Gives one of the texts its value.
    static void assign(ACE_String_Base<char>& field, const ACE_String_Base<char>& value);

    ACE_String_Base<char> m_name;    ///< name of the node's object
    ACE_String_Base<char> m_target;  ///< target-device name, once made
    std::string m_text;              ///< the split node's own text
    int32_t m_makeDone = 0;
    int32_t m_selectDone = 0;
    int32_t m_prepareDone = 0;
    int32_t m_updateDone = 0;
};

/**
 * Whether a list of split nodes has no gap: each entry is there, has a node, and the node a name. A host must never
 * believe that a node which it named is in the snapshot, so a list with a gap is refused whole. A null list is one
 * without entries, unless its count is above 0.
 */
inline bool isWholeNodeList(obz_splitnode* const* nodes, int count)
{
    if (nodes == nullptr) return count <= 0;
    for (int i = 0; i < count; ++i) {
        if (nodes[i] == nullptr || nodes[i]->node == nullptr || nodes[i]->node->name == nullptr) return false;
    }
    return true;
}

/// The nodes of one snapshot, by name. Nodes only accumulate. Any thread may call it.
class OBZX_API CFiSession : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    CFiSession();
    ~CFiSession() override;

    /// Adds nodes that are not there yet; an entry that is there keeps its progress. All are added or none: none of a
    /// list that is not whole, nor when memory runs out.
    /// @return false when the list is not whole
    bool addNodes(obz_splitnode** nodes, int count);
    /// Copies of the nodes whose flag for the phase is 0, in name order; empty for a number that is no phase.
    /// Traces its life, and each node with a line of level 3, when the session has a log.
    std::vector<CFiSplitNode> getSplitNodeList(int phase);
    /// Copies of all nodes, in name order.
    std::vector<CFiSplitNode> getNodes() const;
    /// Has change(CFiSplitNode&) work on a node in place; false when there is no such node. It is called with the
    /// session locked, so it must not use the session; what it throws passes through.
    template <class Change>
    bool update(const std::string& name, const Change& change)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_nodes.find(name);
        if (found == m_nodes.end()) return false;
        change(found->second);
        return true;
    }
    /// Hands the nodes that are made and not yet updated, in name order, to take(const std::vector<CFiSplitNode*>&)
    /// and marks them updated, so that each is handed out once; none is marked when that returns false or throws. It is
    /// called with the session locked, so it must not use the session.
    /// @return what take returned
    template <class Take>
    bool takeMade(const Take& take)
    {
        const std::lock_guard lock(m_mutex);
        const std::vector<CFiSplitNode*> made = madeNodes();
        if (!take(made)) return false;
        for (CFiSplitNode* const node : made) {
            node->m_updateDone = 1;
        }
        return true;
    }
    void markSelected();  ///< all nodes
    void markPrepared();  ///< all nodes

  private:
    void mark(int32_t CFiSplitNode::*flag);
    std::vector<CFiSplitNode*> madeNodes();  // and not yet updated; the caller holds the lock

    mutable std::mutex m_mutex;
    std::map<std::string, CFiSplitNode> m_nodes;
};

using CFiSessionPtr = CFiSmartPtr<CFiSession, CFiNullAllocator<CFiSession>>;

/// The sessions of a provider, by name; they live as long as the manager. Any thread may call it.
class OBZX_API CFiSessionManager : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    CFiSessionManager();
    ~CFiSessionManager() override;
    /// The session of that name, made on first use with an empty trace-log pointer. Empty for a null name.
    CFiSessionPtr getSession(const char* name);

  private:
    std::mutex m_mutex;
    std::map<std::string, CFiSessionPtr> m_sessions;
};

using CFiSessionManagerPtr = CFiSmartPtr<CFiSessionManager, CFiContextSingletonAllocator<CFiSessionManager>>;

}  // namespace obzx_pdk_4_4
