#pragma once

#include <memory>
#include <string>

#include "appliance/core/engines/engine.h"

namespace lumora {

struct SEngineSetup;

/// What a module gives that holds an engine whose libraries the tools do without: one object of this type with the name
/// of ENGINE_MODULE_SYMBOL. Module and tools are of one build.
struct SEngineModule
{
    int version = 0;  ///< ENGINE_MODULE_VERSION of the module's build
    std::unique_ptr<CBaseStorageEngine> (*makeEngine)(const SEngineSetup& setup, const SApplianceHome& home);
    /// Lets this process open the catalog that the setup names; returns the name by which SQLite does.
    std::string (*prepareCatalog)(const SEngineSetup& setup);
    /// The last thing that a tool does. Does not return where the libraries do not live through the end of a process.
    void (*end)(int status);
};

constexpr int ENGINE_MODULE_VERSION = 2;
constexpr const char* ENGINE_MODULE_SYMBOL = "LUMORA_ENGINE_MODULE";

/// The module of an engine, obzx/engines/engine-<name>.so of the library folder beside that of the program; loaded once
/// and never unloaded. Status unusable, with the package to install, when it or a library of it is missing.
const SEngineModule& cephModule();

}  // namespace lumora
