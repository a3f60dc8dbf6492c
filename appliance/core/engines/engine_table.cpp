#include "appliance/core/engines/engine_table.h"

#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/files_engine.h"
#include "appliance/core/files/key_values.h"

namespace lumora {

namespace {

constexpr const char* ENGINE_KEY = "ENGINE";

}  // namespace

const std::vector<SEngineKind>& engineKinds()
{
    static const std::vector<SEngineKind> kinds = {
        {"files", "plain files, which share blocks where the file system can",
         [](const SEngineSetup& /*setup*/) -> std::unique_ptr<CBaseStorageEngine> {
             return std::make_unique<CFilesEngine>();
         }},
    };
    return kinds;
}

SEngineSetup readEngineSetup(const std::filesystem::path& store, const std::filesystem::path& file)
{
    SEngineSetup setup;
    setup.store = store;
    std::error_code error;
    if (std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found) return setup;
    setup.settings = readKeyValues(file);
    if (const auto name = setup.settings.extract(ENGINE_KEY)) setup.engine = name.mapped();
    return setup;
}

std::unique_ptr<CBaseStorageEngine> makeEngine(const SEngineSetup& setup)
{
    std::string names;
    for (const SEngineKind& kind : engineKinds()) {
        if (kind.name == setup.engine) return kind.make(setup);
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
    }
    throw EApplianceError(EStatus::UNUSABLE, "store " + setup.store.string() + " is kept by engine " +
                                                 inQuotes(setup.engine) + ", which is none of " + names);
}

}  // namespace lumora
