#pragma once

#include <string>
#include <vector>

#include "appliance/core/catalog/catalog.h"
#include "appliance/core/catalog/inventory.h"
#include "appliance/core/engines/engine.h"
#include "appliance/core/store/work_folder.h"

namespace lumora {

/// Everything that `create timeimage` says.
struct STimeImageRequest
{
    std::string name;
    std::string group;
    std::string annotation;
    std::vector<std::string> hosts;
    SRetention retention;
};

/// Makes and removes annotations and time images: content by the engine, rows by the catalog.
///
/// Content comes first, in a folder of its own, and the row is the point from which the object exists; removing goes
/// the other way round. So nothing is ever listed without its content, and a process that dies leaves at most a folder
/// that nobody knows, which a later create or delete removes. No database lock is held while content is copied.
class CProtection
{
  public:
    /// `engine` is that of the appliance that every call names.
    CProtection(CStore& store, CBaseStorageEngine& engine);

    void createAnnotation(const SAppliance& appliance, const std::string& group, const std::string& name,
                          const std::string& message);
    void deleteAnnotation(const SAppliance& appliance, const std::string& group, const std::string& name);
    void createTimeImage(const SAppliance& appliance, const STimeImageRequest& request);
    void deleteTimeImage(const SAppliance& appliance, const std::string& group, const std::string& name);

  private:
    void collect(const SAppliance& appliance, EArea area);
    // The folder whose row was removed for certain, and what others left.
    void dropUnlisted(const SAppliance& appliance, EArea area, const std::string& folder);
    void drop(EArea area, const std::filesystem::path& folder);

    CStore& m_store;
    CBaseStorageEngine& m_engine;
    CInventory m_inventory;
    CCatalog m_catalog;
};

}  // namespace lumora
