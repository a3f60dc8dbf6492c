#pragma once

#include <map>
#include <set>

#include "host/src/catalog/catalog.h"
#include "host/src/output/progress.h"
#include "host/src/snapshot/group_work.h"
#include "host/src/snapshot/import_checks.h"
#include "host/src/snapshot/importer.h"

namespace fictl {

/**
 * Brings the copies of a record's groups to this host: first all images that are to be made, then the copies, groups
 * side by side. The first image is made before all others, which are not made where that fails: of two hosts that
 * import at the same time, one gets all groups. One copy is looked for before all others: for it the provider looks for
 * new disks, and so finds those of the others; where it does not show, the others are not looked for. What is there is
 * entered into record and catalog at once.
 */
class CGroupImport
{
  public:
    using Images = std::map<GroupKey, CImportChecks::EImage>;

    /// All must outlive it.
    /// @param isTouched becomes true when the provider is asked for something that changes anything
    CGroupImport(CProvider& provider, CCatalog& catalog, const CProgress& progress, SSnapshot& snapshot,
                 bool& isTouched)
        : m_importer(provider), m_catalog(catalog), m_progress(progress), m_snapshot(snapshot), m_isTouched(isTouched)
    {
    }

    /// @param images the groups with copies to bring, and what their import begins with
    /// @param work tells what has failed
    void run(const Images& images, CGroupWork& work);

  private:
    void makeImage(const GroupKey& group, bool mayBeThere, std::mutex& lock);
    void noteAsked(const GroupKey& group, std::mutex& lock);
    void findCopies(const GroupKey& group, size_t most, std::mutex& lock);
    void findCopy(size_t position, std::mutex& lock);

    CImporter m_importer;
    CCatalog& m_catalog;
    const CProgress& m_progress;
    SSnapshot& m_snapshot;
    bool& m_isTouched;
};

}  // namespace fictl
