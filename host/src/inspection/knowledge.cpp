#include "host/src/inspection/knowledge.h"

#include "host/src/output/progress.h"
#include "host/src/process/signals.h"

namespace fictl {

const SInspection* CKnowledge::look()
{
    m_seen = m_inspector.look(m_groups);
    return seen();
}

const SInspection* CKnowledge::lookToSettle()
{
    constexpr bool TO_THE_END = false;
    if (stopRequested()) m_inspector.hurry();
    m_seen = m_inspector.look(m_groups, TO_THE_END);
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
