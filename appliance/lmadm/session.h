#pragma once

#include <string>

#include "appliance/core/catalog/inventory.h"
#include "appliance/core/content/lun_data.h"
#include "appliance/core/store/store.h"
#include "appliance/lmadm/output.h"

namespace lumora {

/// An opened store for one command of lmadm.
class CSession
{
  public:
    explicit CSession(const SOptions& options, CStore::EMode mode = CStore::EMode::EXISTING);

    CStore& store() noexcept { return m_store; }
    CInventory& inventory() noexcept { return m_inventory; }
    /// The data of the LUNs of appliance().
    CLunData lunData() { return {m_store, appliance()}; }
    /// The appliance that was asked for, or the only one. Status missing when there is none, malformed when there are
    /// several to choose from.
    SAppliance appliance();
    void print(const Json& record) const { printRecord(record, m_options.output); }
    void printList(const char* name, const Json& rows) const { lumora::printList(name, rows, m_options.output); }

    /// Records as documents.
    static Json describe(const SAppliance& appliance);
    Json describe(const SAppliance& appliance, const SLun& lun) const;
    static Json describe(const SGroup& group);

  private:
    SOptions m_options;
    CStore m_store;
    CInventory m_inventory;
};

}  // namespace lumora
