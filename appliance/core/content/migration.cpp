#include "appliance/core/content/migration.h"

#include "appliance/core/content/lun_data.h"
#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/table/engine_table.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/store/work_folder.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

void requireNoCopies(CInventory& inventory, const SAppliance& appliance)
{
    for (const SGroup& group : inventory.groups(appliance)) {
        if (group.annotations + group.timeImages == 0) continue;
        throw EApplianceError(EStatus::IN_USE,
                              "group " + inQuotes(group.name) + " still has " + std::to_string(group.annotations) +
                                  " annotations and " + std::to_string(group.timeImages) +
                                  " time images, which do not move to another engine",
                              EObject::GROUP);
    }
}

fs::path workOf(const fs::path& work, const SLun& lun)
{
    return work / std::to_string(lun.id);
}

void copyData(CStore& store, CBaseStorageEngine& from, CBaseStorageEngine& to, const SAppliance& appliance,
              const fs::path& work)
{
    for (const SLun& lun : CInventory(store).luns(appliance)) {
        const fs::path device = store.layout().lun(appliance.name, lun.name);
        from.attach({{volumeOf(lun), "", device, ""}});
        makeFolder(workOf(work, lun));
        to.makeData(volumeOf(lun), device, workOf(work, lun));
    }
}

}  // namespace

void migrateAppliance(CStore& store, const SAppliance& appliance, const std::string& engine)
{
    checkEngineName(engine);
    if (engine == appliance.engine) {
        throw EApplianceError(EStatus::MALFORMED, "appliance " + inQuotes(appliance.name) + " is kept by engine " +
                                                      inQuotes(engine) + " already");
    }
    checkEngineIsShared(store.engineSetup(), engine);
    CInventory inventory(store);
    const fs::path home = store.layout().appliance(appliance.name);
    const base::CFileDescriptor alone = lockLuns(home);
    requireNoCopies(inventory, appliance);
    const auto from = store.makeEngine(appliance.name, appliance.engine);
    const auto to = store.makeEngine(appliance.name, engine);
    to->prepare();
    const CWorkFolder work(home, EArea::WORK, [&](const fs::path& left) { to->dropWork(left); });
    copyData(store, *from, *to, appliance, work.path());
    from->stop();
    {
        CTransaction transaction(store.database(), CTransaction::EKind::WRITE);
        requireNoCopies(inventory, appliance);
        for (const SLun& lun : inventory.luns(appliance)) {
            to->publishData(volumeOf(lun), workOf(work.path(), lun));
        }
        inventory.setEngine(appliance, engine);
        transaction.commit();
    }
    tidyUp([&] {
        for (const SLun& lun : inventory.luns(appliance)) {
            from->dropData(volumeOf(lun));
        }
        from->stop();
    });
}

}  // namespace lumora
