#include "providers/cdp/cdp_group_nodes.h"

namespace cdpfi {

void CGroupNodes::enter(const CString& group, obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_nodes[group] = node;
}

obz_domain* CGroupNodes::find(const CString& group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_nodes[group];
}

void CGroupNodes::erase(const CString& group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_nodes.erase(group);
}

void CGroupNodes::eraseNode(const CString& group, const obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto entry = m_nodes.find(group);
    if (entry != m_nodes.end() && entry->second == node) m_nodes.erase(entry);
}

size_t CGroupNodes::size() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_nodes.size();
}

}  // namespace cdpfi
