#pragma once

#include <string>

#include "host/src/catalog/catalog.h"
#include "host/src/inspection/image_owner.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/provider/provider.h"

namespace fictl {

/// What stands between a record and its import: each check throws EFictl that names what is in the way and what to do.
class CImportChecks
{
  public:
    /// All must outlive it.
    CImportChecks(const SSnapshot& snapshot, const CKnowledge& knowledge) : m_snapshot(snapshot), m_knowledge(knowledge)
    {
    }

    /// No other record of the catalog has one of the checkpoints.
    void requireOwnCheckpoints(CCatalog& catalog) const;
    /// The provider, which goes by the LUN's serial, finds each LUN where its checkpoint was made.
    void requirePlaces(CProvider& provider) const;

    /// What a group's import begins with.
    enum class EImage
    {
        IS_THERE,      ///< an image of the checkpoint that this host may take up
        MAY_BE_THERE,  ///< it is to be made; where that fails there may be one
        IS_MISSING,    ///< it is to be made
    };
    /// The checkpoint is there, and so is the image of a copy that was imported, unless another host has it.
    EImage requireImage(const GroupKey& group) const;

  private:
    std::string quotedName() const { return "snapshot \"" + m_snapshot.name + "\""; }
    void requirePlace(const SDevice& device, const GroupKey& found) const;
    void requireCheckpoint(const GroupKey& group, bool wasImported) const;
    bool isImageThere(const GroupKey& group, const SImageOwner& image) const;

    const SSnapshot& m_snapshot;
    const CKnowledge& m_knowledge;
};

}  // namespace fictl
