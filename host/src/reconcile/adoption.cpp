#include "host/src/reconcile/adoption.h"

#include <algorithm>
#include <set>

#include "host/src/catalog/record_check.h"
#include "host/src/output/error.h"
#include "host/src/output/progress.h"
#include "host/src/provider/naming.h"
#include "host/src/snapshot/made_devices.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

using Found = std::vector<const SFoundObject*>;

std::string checkpointText(const std::string& name)
{
    return "checkpoint \"" + printable(name) + "\"";
}

std::string whereText(const SFoundObject& object)
{
    return checkpointText(object.name) + " of group " + printable(groupText(object.group));
}

bool isWanted(const SAdoption& adoption, const SFoundObject& object)
{
    return object.kind == EObjectKind::CHECKPOINT && object.name == adoption.checkpoint &&
           (adoption.appliance.empty() || object.group.first == adoption.appliance) &&
           (adoption.groups.empty() ||
            std::find(adoption.groups.begin(), adoption.groups.end(), object.group.second) != adoption.groups.end());
}

[[noreturn]] void failAbsent(const SAdoption& adoption, const std::string& where, const SReconciliation& found)
{
    const std::string text = checkpointText(adoption.checkpoint) + " is not listed" + where;
    if (found.notTold.empty()) {
        throw EFictl(EExit::BAD_RECORD, text + "; nothing was adopted", "fictl reconcile");
    }
    const SNotTold& first = found.notTold.front();
    throw EFictl(EExit::FAILED,
                 text + ", and not everything was told: " +
                     (first.appliance.empty() ? "" : "appliance \"" + printable(first.appliance) + "\": ") +
                     printable(first.reason) + "; nothing was adopted",
                 "mend that and run the command again");
}

[[noreturn]] void failTaken(const SFoundObject& object)
{
    throw EFictl(
        EExit::STATE,
        whereText(object) + " is " + classText(object.klass) + ": " + object.evidenceText() + "; nothing was adopted",
        object.record.empty() ? "wait for that command to end, then run this one again"
                              : "fictl snapshot show " + object.record);
}

[[noreturn]] void failUnproven(const SFoundObject& object)
{
    throw EFictl(
        EExit::STATE,
        whereText(object) + " is not proven to be this catalog's: " + object.evidenceText() + "; nothing was adopted",
        "if you know that it is yours and that no other host has a record of it, name its group: --group " +
            printable(object.group.second));
}

// One group of that name on each appliance would do, so that has to be told, too.
void requireEachGroupOnce(const SAdoption& adoption, const Found& chosen, const SReconciliation& found)
{
    for (const std::string& group : adoption.groups) {
        const auto count = std::count_if(chosen.begin(), chosen.end(),
                                         [&](const SFoundObject* object) { return object->group.second == group; });
        if (count == 1) continue;
        if (count == 0) failAbsent(adoption, " in a group \"" + printable(group) + "\"", found);
        throw EFictl(EExit::USAGE, "groups \"" + printable(group) + "\" of several appliances have that checkpoint",
                     "say which one with --appliance");
    }
}

void requireOneCommand(const Found& chosen)
{
    std::set<int64_t> entries;
    for (const SFoundObject* const object : chosen) {
        entries.insert(object->entry.value_or(0));
    }
    if (entries.size() < 2) return;
    throw EFictl(EExit::STATE,
                 "several commands have made a checkpoint of that name, each in another group; nothing was adopted",
                 "adopt one at a time with --group, or see fictl reconcile");
}

// The copy that a proven image shows here, so that one that is in use is noticed.
void enterCopy(SDevice& device, const SInspectedImage& image)
{
    device.imageAsked = true;
    for (const SInspectedLun& lun : image.luns) {
        if (lun.source != device.state.serialNo || lun.path.empty()) continue;
        device.importPath = lun.path;
        device.importSerial = lun.serial;
    }
}

void addDevices(SSnapshot& record, const SFoundObject& checkpoint, const SInspectedImage* ownImage,
                const SInspectedGroup& seen)
{
    for (const SInspectedLun& lun : seen.luns) {
        SDevice device;
        device.source = !lun.path.empty() ? lun.path : !lun.device.empty() ? lun.device : lun.serial;
        device.node = naming::nodePrefix(record.provider) + lun.serial;
        device.target = naming::targetDevice(record.provider, lun.serial, record.checkpoint);
        // The type of the appliance stays empty: nobody but the provider knows it, and it asks by the name.
        device.state = {.applianceType = {},
                        .applianceName = checkpoint.group.first,
                        .consistencyGroup = checkpoint.group.second,
                        .timeImage = {},
                        .checkPointName = record.checkpoint,
                        .serialNo = lun.serial};
        device.made = EMade::YES;
        if (ownImage != nullptr) enterCopy(device, *ownImage);
        record.devices.push_back(std::move(device));
    }
}

void requireUsable(const SSnapshot& record, const SInspection& seen)
{
    std::string found = record.devices.empty() ? "its groups have no LUNs" : findDisagreement(record);
    for (const SDevice& device : record.devices) {
        const SAmbiguousLun* const ambiguous = seen.ambiguity(device.state.serialNo);
        if (!found.empty() || ambiguous == nullptr) continue;
        found = "LUN " + device.state.serialNo + " is ambiguous: " + ambiguous->reason;
    }
    if (found.empty()) return;
    throw EFictl(EExit::BAD_RECORD,
                 "no record can be made of " + checkpointText(record.checkpoint) + ": " + printable(found) +
                     "; nothing was adopted",
                 "fictl device list");
}

}  // namespace

std::vector<const SFoundObject*> requireAdoptable(const SAdoption& adoption, const SReconciliation& found)
{
    if (!naming::isCheckpointName(adoption.checkpoint)) {
        throw EFictl(EExit::BAD_RECORD,
                     checkpointText(adoption.checkpoint) +
                         " has no name that a provider of this fictl works with; nothing was adopted",
                     "fictl reconcile lists the checkpoints");
    }
    Found wanted;
    for (const SFoundObject& object : found.objects) {
        if (isWanted(adoption, object)) wanted.push_back(&object);
    }
    if (wanted.empty()) failAbsent(adoption, "", found);
    Found chosen;
    for (const SFoundObject* const object : wanted) {
        const bool isNamed = !adoption.groups.empty();
        const bool isTaken = !object->record.empty() || object->klass == EObjectClass::IN_FLIGHT;
        if (isNamed && isTaken) failTaken(*object);
        if (isNamed || object->klass == EObjectClass::ORPHAN) chosen.push_back(object);
    }
    requireEachGroupOnce(adoption, chosen, found);
    if (chosen.empty()) {
        const SFoundObject& first = *wanted.front();
        if (!first.record.empty() || first.klass == EObjectClass::IN_FLIGHT) failTaken(first);
        failUnproven(first);
    }
    if (adoption.groups.empty()) requireOneCommand(chosen);
    return chosen;
}

SSnapshot recordOf(const std::string& name, const std::string& provider,
                   const std::vector<const SFoundObject*>& checkpoints, const SReconciliation& found,
                   const SInspection& seen)
{
    const SFoundObject& first = *checkpoints.front();
    SSnapshot record;
    record.name = name;
    record.state = EState::COMPLETE;
    record.provider = provider;
    record.checkpoint = first.name;
    record.created = !first.time.empty() ? first.time : utcSecondsText(std::chrono::system_clock::now());
    record.origin = ORIGIN_ADOPTED;
    for (const SFoundObject* const checkpoint : checkpoints) {
        const SFoundObject* const image = found.imageOf(*checkpoint);
        const bool isOwn = image != nullptr && image->klass == EObjectClass::ORPHAN;
        addDevices(record, *checkpoint, isOwn ? seen.image(checkpoint->group, image->name) : nullptr,
                   *seen.group(checkpoint->group));
    }
    const bool isImported = std::any_of(record.devices.begin(), record.devices.end(),
                                        [](const SDevice& device) { return !device.importPath.empty(); });
    if (isImported) record.state = EState::IMPORTED;
    requireUsable(record, seen);
    enterCheckpointTimes(record, seen);
    return record;
}

}  // namespace fictl
