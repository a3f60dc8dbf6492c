#pragma once

#include <string>

#include "host/src/inspection/image_owner.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/provider/provider.h"

namespace fictl {

/**
 * What stands between a command and a copy that somebody uses. Each check throws EFictl (STATE) that names what is in
 * the way and what to do, or says with a warning that it could not be made.
 */
class CCopyGuard
{
  public:
    enum class EAction
    {
        DELETE,   ///< may be told to go on with --even-if-in-use; a record of this host alone goes on without knowing
        RELEASE,  ///< only of what is known to be this record's
    };

    CCopyGuard(const SSnapshot& snapshot, CKnowledge& knowledge, EAction action)
        : m_snapshot(snapshot), m_knowledge(knowledge), m_action(action)
    {
    }

    /// The group's time image is nobody's, or this record's own; says whether it is there at all.
    EThere requireOwnImage(const GroupKey& group);
    /// Whose the group's time image is, which is known, or else of no matter.
    SImageOwner requireOwner(const GroupKey& group);
    [[noreturn]] void refuseForeign(const GroupKey& group, const SImageOwner& found) const;
    /// No copy of the group that shows on this host is mounted, open or held.
    void requireUnused(const GroupKey& group);

  private:
    [[noreturn]] void refuse(const std::string& reason, const std::string& next) const;
    void requireKnown(const GroupKey& group, const SImageOwner& found);
    [[noreturn]] void refuseUsed(const SDevice& device, const std::vector<std::string>& uses) const;

    const SSnapshot& m_snapshot;
    CKnowledge& m_knowledge;
    EAction m_action;
};

}  // namespace fictl
