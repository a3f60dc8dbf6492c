#include "framework/src/snapshot_handle.h"

#include <algorithm>

#include "framework/include/cfistringtool.h"
#include "framework/include/obzx_runtime.h"
#include "framework/src/text_copy.h"

namespace obzx_pdk_4_4 {
namespace {

// Owns the texts until the handle is given out.
class CEntries
{
  public:
    explicit CEntries(const std::vector<CFiSplitNode>& nodes)
    {
        m_handle.entries = static_cast<obz_snaphandle_entry*>(obzx_alloc_buf(nodes.size() * sizeof(*m_handle.entries)));
        m_isWhole = m_handle.entries != nullptr &&
                    std::all_of(nodes.begin(), nodes.end(), [this](const auto& node) { return append(node); });
    }
    ~CEntries() { obzx_free_snaphandle(&m_handle); }
    CEntries(const CEntries&) = delete;
    CEntries& operator=(const CEntries&) = delete;

    bool isWhole() const { return m_isWhole; }

    void keepOnly(const std::vector<bool>& keep)
    {
        int32_t kept = 0;
        for (int32_t i = 0; i < m_handle.count; ++i) {
            obz_snaphandle_entry& entry = m_handle.entries[i];
            if (keep[static_cast<size_t>(i)]) {
                m_handle.entries[kept++] = entry;
            } else {
                obzx_free_buf(entry.node, 0);
                obzx_free_buf(entry.target, 0);
            }
        }
        m_handle.count = kept;
    }

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
    std::vector<CFiSplitNode> nodes = session.getSplitNodeList(PHASE_UPDATE);
    std::erase_if(nodes, [](const CFiSplitNode& node) { return node.m_makeDone == 0; });
    if (nodes.empty()) return true;
    CEntries entries(nodes);
    if (!entries.isWhole()) return false;

    // Every node is handed out once, also when two callers ask at the same time.
    std::vector<std::string> names;
    names.reserve(nodes.size());
    for (const CFiSplitNode& node : nodes) {
        names.push_back(CFiStringTool::tstr2str(node.m_name));
    }
    std::vector<bool> isOurs(nodes.size(), false);
    for (size_t i = 0; i < nodes.size(); ++i) {
        session.update(names[i], [&](CFiSplitNode& node) {
            isOurs[i] = node.m_updateDone == 0;
            node.m_updateDone = 1;
        });
    }
    entries.keepOnly(isOurs);
    entries.give(handle);
    return true;
}

}  // namespace obzx_pdk_4_4
