#include "providers/cdp/cdp_group_nodes.h"

#include "providers/cdp/cdp_text.h"

namespace cdpfi {

void CGroupNodes::enter(const CString& group, obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_nodes[std::string(bytesOf(group))] = node;
}

obz_domain* CGroupNodes::find(const CString& group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_nodes[std::string(bytesOf(group))];
}

void CGroupNodes::erase(const CString& group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto entry = m_nodes.find(bytesOf(group));
    if (entry != m_nodes.end()) m_nodes.erase(entry);
}

void CGroupNodes::eraseNode(const obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    std::erase_if(m_nodes, [node](const auto& entry) { return entry.second == node || entry.second == nullptr; });
}

size_t CGroupNodes::size() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_nodes.size();
}

}  // namespace cdpfi
