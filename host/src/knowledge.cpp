#include "host/src/knowledge.h"

#include "host/src/progress.h"

namespace fictl {

const SInspection* CKnowledge::look(bool stopOnSignal)
{
    m_seen = m_inspector.look(m_groups, stopOnSignal);
    return seen();
}

const SInspection* CKnowledge::lookAtInventory()
{
    m_seen = m_inspector.lookAtInventory();
    return seen();
}

void CKnowledge::warnUnguarded(const std::string& guard, const std::string& why)
{
    if (m_warned.insert(guard).second) CProgress::warn("not checked " + guard + ": " + why);
}

}  // namespace fictl
