#pragma once

#include <string_view>
#include <vector>

#include "appliance/core/catalog/catalog.h"
#include "appliance/core/catalog/inventory.h"
#include "appliance/core/content/protection.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/core/shell/command.h"

namespace lumora {

/// The appliance that commands are carried out on. `store` and `engine` must outlive it.
struct SShellTarget
{
    SShellTarget(CStore& store, CBaseStorageEngine& engine, SAppliance appliance);

    CStore& store;
    SAppliance appliance;
    CInventory inventory;
    CCatalog catalog;
    CProtection protection;
};

/// A command of the shell language: the parser, the help and the texts of commands all read this.
struct SCommandKind
{
    std::string_view head;        ///< pattern of the keyword line (line_pattern.h); all its values are names
    std::vector<SBodyLine> body;  ///< what may stand below it; if there is any, "commit" ends the command
    /// Carries it out and gives the lines to print. Throws EApplianceError; the command had no effect then.
    Lines (*run)(SShellTarget& target, const SCommand& command);
};

/// All commands, in the order of the help.
const std::vector<SCommandKind>& commandKinds();

/// A line for each command, such as `  create annotation "A" "G" ... set message WORD ... commit`; a long one goes on
/// in lines that stand further in.
Lines commandHelp();

}  // namespace lumora
