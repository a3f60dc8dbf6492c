#pragma once

#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "host/src/catalog/catalog.h"
#include "host/src/commands/command.h"

namespace fictl {

/// States in which a record may go: every one.
inline constexpr std::initializer_list<EState> DELETABLE = {
    EState::CREATING,       EState::PARTIAL,       EState::FAILED,        EState::COMPLETE,
    EState::IMPORTING,      EState::IMPORT_FAILED, EState::IMPORTED,      EState::RELEASING,
    EState::RELEASE_FAILED, EState::DELETING,      EState::DELETE_FAILED,
};

/// How a record is deleted.
struct SDeletion
{
    bool evenIfInUse = false;  ///< also what somebody works with
    std::initializer_list<EState> states = DELETABLE;
};

/// Deletes time images and checkpoints of a record, and then the record; returns what became of each group. A guardian
/// must be there. Throws EFictl when something was refused or not confirmed: the record then stays.
nlohmann::json deleteRecorded(const SContext& context, CCatalog& catalog, const std::string& name,
                              const SDeletion& deletion);

}  // namespace fictl
