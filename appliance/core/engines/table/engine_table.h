#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/engines/engine.h"
#include "base/sqlite.h"

namespace lumora {

/// What the engines of a store are made with.
struct SEngineSetup
{
    std::filesystem::path store;                  ///< root folder of the store; absolute, without links
    std::string engine = "files";                 ///< of appliances that are made and say nothing else
    std::map<std::string, std::string> settings;  ///< what the store says of its engines, by key
    base::CSqliteDatabase* catalog = nullptr;     ///< the store's; not owned, outlives the engines
};

/// An engine by its name.
struct SEngineKind
{
    std::string_view name;
    std::string_view description;  ///< what it keeps content as
    /// Throws EApplianceError: unusable for settings that it cannot work with.
    std::unique_ptr<CBaseStorageEngine> (*make)(const SEngineSetup& setup, const SApplianceHome& home);
};

/// All engines that an appliance may be kept by.
const std::vector<SEngineKind>& engineKinds();

/// Their names, such as "files, qsd".
std::string engineNames();
/// Status malformed when no engine has the name.
void checkEngineName(const std::string& name);

/// What the store's file for its engines says, lines KEY=VALUE: ENGINE names the engine of new appliances, all other
/// keys are settings. A store without the file keeps them by the engine `files`. Status unusable for a file that cannot
/// be read.
SEngineSetup readEngineSetup(const std::filesystem::path& store, const std::filesystem::path& file);

/// The engine of an appliance. Status unusable when no engine has the name that the store gives for new appliances, or
/// that the appliance has.
std::unique_ptr<CBaseStorageEngine> makeEngine(const SEngineSetup& setup, const SApplianceHome& home);

}  // namespace lumora
