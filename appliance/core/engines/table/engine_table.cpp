#include "appliance/core/engines/table/engine_table.h"

#include <algorithm>
#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/files_engine.h"
#include "appliance/core/engines/qsd/qsd_engine.h"
#include "appliance/core/engines/table/engine_module.h"
#include "appliance/core/files/key_values.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr const char* ENGINE_KEY = "ENGINE";
constexpr const char* CATALOG_KEY = "CATALOG";

constexpr const char* SHARED_ENGINE = "ceph";

const SEngineKind* findKind(const std::string& engine)
{
    const auto& kinds = engineKinds();
    const auto kind = std::find_if(kinds.begin(), kinds.end(), [&](const auto& each) { return each.name == engine; });
    return kind == kinds.end() ? nullptr : &*kind;
}

const SEngineKind& kindOf(const SEngineSetup& setup, const std::string& engine)
{
    const SEngineKind* const kind = findKind(engine);
    if (kind != nullptr) return *kind;
    throw EApplianceError(EStatus::UNUSABLE, "store " + setup.store.string() + " is kept by engine " +
                                                 inQuotes(engine) + ", which is none of " + engineNames());
}

}  // namespace

const std::vector<SEngineKind>& engineKinds()
{
    static const std::vector<SEngineKind> kinds = {
        {"files", "plain files, which share blocks where the file system can",
         [](const SEngineSetup& /*setup*/, const SApplianceHome& home) -> std::unique_ptr<CBaseStorageEngine> {
             return std::make_unique<CFilesEngine>(home.folder);
         }},
        {"qsd", "layers of qcow2 files behind a storage daemon, which fixes them for any writer",
         [](const SEngineSetup& setup, const SApplianceHome& home) -> std::unique_ptr<CBaseStorageEngine> {
             return std::make_unique<CQsdEngine>(setup.store, home.folder, readAttach(setup.store, setup.settings),
                                                 *setup.catalog);
         }},
        {"ceph", "images of a cluster, which fixes them for any writer on any machine",
         [](const SEngineSetup& setup, const SApplianceHome& home) { return cephModule().makeEngine(setup, home); }},
    };
    return kinds;
}

std::string engineNames()
{
    std::string names;
    for (const SEngineKind& kind : engineKinds()) {
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
    }
    return names;
}

void checkEngineIsShared(const SEngineSetup& setup, const std::string& engine)
{
    if (!setup.isShared || engine == SHARED_ENGINE) return;
    throw EApplianceError(EStatus::MALFORMED, "engine " + inQuotes(engine) +
                                                  " keeps content on one machine, and the catalog of store " +
                                                  setup.store.string() + " is for several: choose " + SHARED_ENGINE);
}

void checkEngineName(const std::string& name)
{
    if (findKind(name) != nullptr) return;
    throw EApplianceError(EStatus::MALFORMED, "engine " + inQuotes(name) + " is none of " + engineNames());
}

SEngineSetup readEngineSetup(const fs::path& store, const std::vector<fs::path>& files)
{
    SEngineSetup setup;
    setup.store = store;
    for (const fs::path& file : files) {
        std::error_code error;
        if (fs::symlink_status(file, error).type() == fs::file_type::not_found) continue;
        setup.settings.merge(readKeyValues(file));
    }
    const auto catalog = setup.settings.find(CATALOG_KEY);
    setup.isShared = catalog != setup.settings.end() && !catalog->second.empty();
    if (setup.isShared) setup.engine = SHARED_ENGINE;
    if (const auto name = setup.settings.extract(ENGINE_KEY)) setup.engine = name.mapped();
    return setup;
}

std::unique_ptr<CBaseStorageEngine> makeEngine(const SEngineSetup& setup, const SApplianceHome& home)
{
    kindOf(setup, setup.engine);
    readAttach(setup.store, setup.settings);
    return kindOf(setup, home.engine).make(setup, home);
}

}  // namespace lumora
