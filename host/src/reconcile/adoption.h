#pragma once

#include <string>
#include <vector>

#include "host/src/inspection/inspection.h"
#include "host/src/reconcile/found_object.h"

namespace fictl {

/// Which checkpoint is to get a record.
struct SAdoption
{
    std::string checkpoint{};
    std::string name{};                 ///< of the record
    std::vector<std::string> groups{};  ///< taken on the word of who names them; empty: those that are proven
    std::string appliance{};            ///< empty: any
};

/// The checkpoints to adopt, one of each group. Throws EFictl that says which proof is missing, or what has it already.
std::vector<const SFoundObject*> requireAdoptable(const SAdoption& adoption, const SReconciliation& found);

/**
 * The record of such checkpoints, not yet in the catalog: of every LUN that each group has now, since nobody knows of
 * which ones the snapshot was. It is complete, or imported where this host has a copy whose image is proven to be ours;
 * any other copy is taken up by an import. Throws EFictl (BAD_RECORD) where a group or LUN cannot be worked
 * with.
 */
SSnapshot recordOf(const std::string& name, const std::string& provider,
                   const std::vector<const SFoundObject*>& checkpoints, const SReconciliation& found,
                   const SInspection& seen);

}  // namespace fictl
