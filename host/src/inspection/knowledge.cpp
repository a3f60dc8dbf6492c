#include "host/src/inspection/knowledge.h"

#include "host/src/output/progress.h"
#include "host/src/process/signals.h"

namespace fictl {

const SInspection* CKnowledge::keep(std::optional<SInspection> seen)
{
    m_seen = std::move(seen);
    if (m_seen) m_parallel = m_seen->parallel;
    return this->seen();
}

void CKnowledge::begin(const SLook& look)
{
    if (m_inspector.isThere()) m_ahead = std::make_unique<CLookAhead>(m_inspector, look);
}

void CKnowledge::beginLook()
{
    begin({.groups = m_groups});
}

void CKnowledge::beginLookAtInventory()
{
    begin({.isInventory = true});
}

const SInspection* CKnowledge::lookOrWait(const SLook& look)
{
    if (!m_ahead) return keep(m_inspector.look(look));
    const std::unique_ptr<CLookAhead> ahead = std::move(m_ahead);
    std::optional<SInspection> seen = ahead->wait();
    m_inspector = ahead->inspector();
    return keep(std::move(seen));
}

const SInspection* CKnowledge::look()
{
    return lookOrWait({.groups = m_groups});
}

const SInspection* CKnowledge::lookAtInventory()
{
    return lookOrWait({.isInventory = true});
}

const SInspection* CKnowledge::settle(const SLook& look)
{
    if (stopRequested()) m_inspector.hurry();
    return keep(m_inspector.look(look));
}

const SInspection* CKnowledge::lookToSettle()
{
    return settle({.groups = m_groups, .stopsOnSignal = false});
}

const SInspection* CKnowledge::lookForCheckpoints()
{
    return settle({.groups = m_groups, .isInventory = true, .stopsOnSignal = false});
}

void CKnowledge::warnUnguarded(const std::string& guard, const std::string& why)
{
    if (m_warned.insert(guard).second) CProgress::warn("not checked " + guard + ": " + why);
}

}  // namespace fictl
