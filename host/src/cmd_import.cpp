#include <unistd.h>

#include <algorithm>

#include "host/src/catalog.h"
#include "host/src/commands.h"
#include "host/src/error.h"
#include "host/src/importer.h"
#include "host/src/names.h"
#include "host/src/record_json.h"
#include "host/src/signals.h"

namespace fictl {

namespace {

SResult importedResult(const SSnapshot& snapshot)
{
    std::vector<std::vector<std::string>> rows = {{"DEVICE", "IMPORTED AS"}};
    for (const SDevice& device : snapshot.devices) {
        rows.push_back({device.source, device.importPath});
    }
    return {{{"snapshot", snapshotJson(snapshot)}}, formatTable(rows)};
}

SResult importedBefore(const SSnapshot& snapshot)
{
    for (const SDevice& device : snapshot.devices) {
        if (access(device.importPath.c_str(), F_OK) == 0) continue;
        throw EFictl(EExit::FAILED,
                     "snapshot \"" + snapshot.name + "\" was imported, but " + printable(device.importPath) +
                         " (copy of " + printable(device.source) + ") is not there any more",
                     "fictl snapshot delete " + snapshot.name);
    }
    return importedResult(snapshot);
}

// An image can be taken up only by the process that made it, so another try helps only where none was made.
std::string nextStep(const SSnapshot& snapshot, const SDevice& failed, bool imageMade, const SApplianceReport& report)
{
    const bool isGroupTouched = std::any_of(
        snapshot.devices.begin(), snapshot.devices.end(),
        [&failed](const SDevice& device) { return device.group() == failed.group() && !device.importPath.empty(); });
    if (imageMade || isGroupTouched || saysAlreadyThere(report)) {
        return "fictl snapshot delete " + snapshot.name +
               " (removes the copies made so far; a time image that was made cannot be imported a second time)";
    }
    return "mend what the appliance reports, then fictl snapshot import " + snapshot.name;
}

/// Imports what has no path yet; touched tells whether the provider was asked for anything.
void importDevices(const SContext& context, CCatalog& catalog, SSnapshot& snapshot, bool& touched)
{
    CProvider provider(context.providerFor(snapshot));
    CImporter importer(provider);
    for (SDevice& device : snapshot.devices) {
        if (!device.importPath.empty()) continue;
        stopPoint();
        context.progress.step("import " + device.source);
        touched = true;
        bool imageMade = false;
        try {
            device.importPath = importer.import(device, imageMade);
        } catch (const EFictl& error) {
            throw EFictl(error.exit(), "snapshot \"" + snapshot.name + "\": " + error.what(),
                         nextStep(snapshot, device, imageMade, error.report()))
                .withReport(error.report())
                .about(snapshot.name);
        }
        catalog.update(snapshot);
    }
}

}  // namespace

SResult importSnapshot(const SContext& context, const std::string& name)
{
    requireSnapshotName(name);
    CCatalog catalog;
    if (const SSnapshot present = catalog.get(name); present.state == EState::IMPORTED) return importedBefore(present);
    const SSnapshot before =
        catalog.take(name, EState::IMPORTING, {EState::COMPLETE, EState::IMPORT_FAILED, EState::IMPORTING}, "imported");
    SSnapshot snapshot = before;
    snapshot.state = EState::IMPORTING;
    snapshot.owner = thisProcess();
    bool touched = false;
    try {
        importDevices(context, catalog, snapshot, touched);
    } catch (const EFictl& error) {
        // An error of the catalog would only come again.
        if (error.exit() == EExit::CATALOG) throw;
        snapshot.state = EState::IMPORT_FAILED;
        snapshot.message = error.what();
        catalog.update(touched ? snapshot : before);
        throw;
    }
    snapshot.state = EState::IMPORTED;
    snapshot.message.clear();
    catalog.update(snapshot);
    return importedResult(snapshot);
}

}  // namespace fictl
