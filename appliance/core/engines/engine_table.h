#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/engines/engine.h"

namespace lumora {

/// What an engine is made with.
struct SEngineSetup
{
    std::filesystem::path store;                  ///< root folder of the store; absolute, without links
    std::string engine = "files";                 ///< name of a row of engineKinds()
    std::map<std::string, std::string> settings;  ///< what the store says of its engine, by key; of use to its engine
};

/// An engine by its name.
struct SEngineKind
{
    std::string_view name;
    std::string_view description;  ///< what it keeps content as
    /// Throws EApplianceError: unusable for settings that it cannot work with.
    std::unique_ptr<CBaseStorageEngine> (*make)(const SEngineSetup& setup);
};

/// All engines that a store may be kept by.
const std::vector<SEngineKind>& engineKinds();

/// What the store's file for its engine says, lines KEY=VALUE: ENGINE names the engine, all other keys are its
/// settings. A store without the file is kept by the engine `files`. Status unusable for a file that cannot be read.
SEngineSetup readEngineSetup(const std::filesystem::path& store, const std::filesystem::path& file);

/// Status unusable when no engine has the name.
std::unique_ptr<CBaseStorageEngine> makeEngine(const SEngineSetup& setup);

}  // namespace lumora
