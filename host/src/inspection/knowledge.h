#pragma once

#include <memory>
#include <set>
#include <string>

#include "host/src/inspection/inspector.h"
#include "host/src/inspection/look_ahead.h"

namespace fictl {

/**
 * What one command knows of the appliances: it keeps what its last look has found. A check that could not be made for
 * want of knowledge is told to the user, once. Used by one thread; a look waits for the inspector.
 */
class CKnowledge
{
  public:
    /// @param provider name or path; groups are those that the command is about
    CKnowledge(const std::string& provider, std::chrono::seconds limit, std::set<GroupKey> groups = {})
        : m_inspector(provider, limit), m_groups(std::move(groups))
    {
    }

    /// The groups that the command is about, where they were not known from the beginning.
    void concern(std::set<GroupKey> groups) { m_groups = std::move(groups); }

    /// Looks now; null when there is nothing to look with, or it did not work. Gives up when fictl is asked to stop.
    const SInspection* look();
    /// Looks at the LUNs and checkpoints of every group there is, and at no time image.
    const SInspection* lookAtInventory();
    /// Begins one of these two, so that it goes on beside other work; the next call of it waits for that one.
    void beginLook();
    void beginLookAtInventory();

    /// Looks to learn what has become of what was asked for: goes on when fictl is asked to stop, but then each command
    /// has to be answered soon.
    const SInspection* lookToSettle();
    /// The same, at no time image.
    const SInspection* lookForCheckpoints();

    /// What was seen last; null before the first look and after one that did not work.
    const SInspection* seen() const { return m_seen ? &*m_seen : nullptr; }
    /// Why nothing was seen; empty when something was.
    const std::string& why() const { return m_inspector.why(); }

    /// Why nothing certain is known of a group; empty when it was seen as a whole.
    std::string doubt(const GroupKey& group) const { return m_seen ? m_seen->doubt(group) : why(); }

    /// How many groups may be worked on at once, as far as any look has told.
    size_t parallel() const { return m_parallel; }

    CInspector& inspector() { return m_inspector; }

    /// Warns, once for each text, that something could not be looked at.
    void warnUnguarded(const std::string& guard, const std::string& why);

  private:
    void begin(const SLook& look);
    const SInspection* lookOrWait(const SLook& look);
    const SInspection* settle(const SLook& look);
    const SInspection* keep(std::optional<SInspection> seen);

    CInspector m_inspector;
    std::set<GroupKey> m_groups;
    std::unique_ptr<CLookAhead> m_ahead;
    std::optional<SInspection> m_seen;
    size_t m_parallel = USUAL_PARALLEL;
    std::set<std::string> m_warned;
};

}  // namespace fictl
