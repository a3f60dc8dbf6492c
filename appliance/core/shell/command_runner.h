#pragma once

#include "appliance/core/shell/listing.h"
#include "appliance/core/shell/script.h"

namespace lumora {

/// Carries out commands of the shell language on one appliance.
class CCommandRunner
{
  public:
    CCommandRunner(CStore& store, CBaseStorageEngine& engine, SAppliance appliance);

    /// Gives the lines to print. Throws EApplianceError; the command had no effect then.
    Lines run(const Command& command);

  private:
    Lines run(const SListHosts& command);
    Lines run(const SListGroups& command);
    Lines run(const SShowHost& command);
    Lines run(const SShowGroup& command);
    Lines run(const SCreateAnnotation& command);
    Lines run(const SDeleteAnnotation& command);
    Lines run(const SCreateTimeImage& command);
    Lines run(const SDeleteTimeImage& command);
    Lines run(const SUpdateGroup& command);
    Lines run(const SUpdateTimeImage& command);
    Lines run(const SListTimeImages& command);
    Lines run(const SShowTimeImage& command);

    CStore& m_store;
    SAppliance m_appliance;
    CInventory m_inventory;
    CCatalog m_catalog;
    CProtection m_protection;
};

}  // namespace lumora
