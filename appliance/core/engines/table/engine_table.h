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
    bool isShared = false;                        ///< CATALOG says that several machines have the catalog
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

/// Their names, such as "files, qsd, ceph".
std::string engineNames();
/// Status malformed when no engine has the name.
void checkEngineName(const std::string& name);
/// Status malformed for an engine that keeps content on one machine, in a store that several machines share.
void checkEngineIsShared(const SEngineSetup& setup, const std::string& engine);

/// What the first of the files says of the store's engines that gives a key, lines KEY=VALUE: ENGINE names the engine
/// of new appliances, all other keys are settings. A store that says nothing keeps them by the engine `files`; one that
/// several machines share, by `ceph`. Status unusable for a file that cannot be read.
SEngineSetup readEngineSetup(const std::filesystem::path& store, const std::vector<std::filesystem::path>& files);

/// The engine of an appliance. Status unusable when no engine has the name that the store gives for new appliances, or
/// that the appliance has, and for a setting ATTACH that cannot be one.
std::unique_ptr<CBaseStorageEngine> makeEngine(const SEngineSetup& setup, const SApplianceHome& home);

}  // namespace lumora
