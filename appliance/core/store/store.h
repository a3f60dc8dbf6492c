#pragma once

#include <filesystem>
#include <memory>

#include "appliance/core/engines/table/engine_table.h"
#include "appliance/core/store/database.h"
#include "appliance/core/store/layout.h"

namespace lumora {

/// An opened store: its layout and its database, checked to be of the version that this program knows.
class CStore
{
  public:
    enum class EMode : uint8_t
    {
        EXISTING,  ///< status unusable when there is no store, or its settings cannot be read
        CREATE     ///< makes folder and database where missing; several processes may try at once
    };

    CStore(const std::filesystem::path& root, EMode mode);

    /// The root is absolute and free of links, so that paths below it are the same for every tool.
    const SLayout& layout() const noexcept { return m_layout; }
    CDatabase& database() noexcept { return m_database; }
    /// What the store says of its engines.
    const SEngineSetup& engineSetup() const noexcept { return m_setup; }
    /// The engine of an appliance; must not outlive the store. Status unusable for one that is unknown, or cannot work.
    std::unique_ptr<CBaseStorageEngine> makeEngine(const std::string& appliance, const std::string& engine);

  private:
    const SLayout m_layout;
    SEngineSetup m_setup;
    CDatabase m_database;
};

}  // namespace lumora
