#include "framework/src/state/snapshot_handle.h"

#include <algorithm>
#include <utility>

#include "framework/include/obzx_runtime.h"
#include "framework/src/memory/text_copy.h"

namespace obzx_pdk_4_4 {
namespace {

// Owns the texts until the handle is given out.
class CEntries
{
  public:
    explicit CEntries(const std::vector<CFiSplitNode*>& nodes)
    {
        m_handle.entries = static_cast<obz_snaphandle_entry*>(obzx_alloc_buf(nodes.size() * sizeof(*m_handle.entries)));
        m_isWhole = m_handle.entries != nullptr &&
                    std::all_of(nodes.begin(), nodes.end(), [this](const CFiSplitNode* node) { return append(*node); });
    }
    ~CEntries() { obzx_free_snaphandle(&m_handle); }
    CEntries(const CEntries&) = delete;
    CEntries& operator=(const CEntries&) = delete;

    bool isWhole() const { return m_isWhole; }

    void give(obz_snaphandle& handle) { std::swap(m_handle, handle); }

  private:
    bool append(const CFiSplitNode& node)
    {
        obz_snaphandle_entry& entry = m_handle.entries[m_handle.count++];
        entry.node = copyText({node.m_name.fast_rep(), node.m_name.length()});
        entry.target = copyText({node.m_target.fast_rep(), node.m_target.length()});
        return entry.node != nullptr && entry.target != nullptr;
    }

    obz_snaphandle m_handle = {};
    bool m_isWhole = false;
};

}  // namespace

bool fillSnapshotHandle(CFiSession& session, obz_snaphandle& handle)
{
    return session.takeMade([&](const std::vector<CFiSplitNode*>& nodes) {
        if (nodes.empty()) return true;
        CEntries entries(nodes);
        if (!entries.isWhole()) return false;
        entries.give(handle);
        return true;
    });
}

}  // namespace obzx_pdk_4_4
