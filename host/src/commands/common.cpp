#include "host/src/commands/common.h"

#include "host/src/dry_run/dry_run.h"

#include <map>
#include <set>

#include "host/src/commands/command.h"
#include "host/src/devices/device_name.h"
#include "host/src/provider/provider_library.h"
#include "host/src/text/plain_text.h"

namespace fictl {

std::string SContext::providerFor(const SSnapshot& snapshot) const
{
    if (provider.empty()) return snapshot.provider;
    const std::string given = CProviderLibrary::nameOf(provider);
    if (given == snapshot.provider) return provider;
    throw EFictl(
        EExit::USAGE,
        "snapshot \"" + snapshot.name + "\" was made by provider \"" + snapshot.provider + "\", not \"" + given + "\"",
        "leave --provider away, or give the path of lib" + snapshot.provider + ".so");
}

void requireSnapshotName(const std::string& name)
{
    if (isSnapshotName(name)) return;
    throw EFictl(EExit::USAGE, "\"" + printable(name) + "\" cannot be a snapshot's name",
                 "use 1 to 128 letters, digits or ._:+@-, not beginning with . or -");
}

void requireDevices(const std::vector<std::string>& devices)
{
    constexpr size_t LONGEST = 4096;
    std::set<std::string> seen;
    std::map<SDeviceIdentity, std::string> identities;
    for (const std::string& device : devices) {
        if (device.empty() || device.size() > LONGEST || !isPlainText(device)) {
            throw EFictl(EExit::USAGE, "\"" + printable(device) + "\" cannot be a device path");
        }
        if (!seen.insert(device).second) {
            throw EFictl(EExit::USAGE, "device " + device + " is given twice", "give every device once");
        }
        const std::optional<SDeviceIdentity> identity = identifyDevice(device);
        if (!identity) continue;
        const auto [other, isFirst] = identities.emplace(*identity, device);
        if (!isFirst) {
            throw EFictl(EExit::USAGE, other->second + " and " + device + " are names of one device",
                         "give every device once");
        }
    }
}

SResult dryRunOf(const SContext& context, const std::string& snapshot, const std::vector<std::string>& devices)
{
    return dryRun({.words = context.dryRun,
                   .provider = context.provider,
                   .timeout = context.timeout,
                   .progress = context.progress,
                   .snapshot = snapshot,
                   .devices = devices});
}

SSnapshot workOn(CCatalog& catalog, const SSnapshot& before, const SStep& step, const StepWork& work)
{
    SSnapshot record = before;
    record.state = step.running;
    record.owner = thisProcess();
    bool isTouched = false;
    try {
        work(record, isTouched);
    } catch (const EFictl& error) {
        // An error of the catalog would only come again.
        if (error.exit() == EExit::CATALOG) throw;
        record.state = step.failed;
        record.message = error.what();
        catalog.update(isTouched ? record : before);
        throw;
    }
    if (!step.reached) {
        catalog.remove(record.name);
        return record;
    }
    record.state = *step.reached;
    record.message.clear();
    catalog.update(record);
    return record;
}

}  // namespace fictl
