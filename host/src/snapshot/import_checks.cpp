#include "host/src/snapshot/import_checks.h"

#include <algorithm>
#include <optional>

#include "host/src/output/error.h"
#include "host/src/snapshot/lun_place.h"
#include "host/src/text/plain_text.h"

namespace fictl {

void CImportChecks::requireOwnCheckpoints(CCatalog& catalog) const
{
    for (const GroupKey& group : m_snapshot.groups()) {
        const std::optional<std::string> owner = catalog.otherOwner(m_snapshot.name, group, m_snapshot.checkpoint);
        if (!owner) continue;
        throw EFictl(EExit::BAD_RECORD,
                     quotedName() + ": checkpoint " + m_snapshot.checkpoint + " of group " + groupText(group) +
                         " belongs to snapshot \"" + *owner + "\" of this catalog, too; nothing was imported",
                     "fictl snapshot show " + *owner +
                         ", and fictl snapshot delete NAME --forget for the record that is "
                         "wrong")
            .about(m_snapshot.name);
    }
}

void CImportChecks::requirePlace(const SDevice& device, const GroupKey& found) const
{
    if (found == device.group()) return;
    throw EFictl(EExit::BAD_RECORD,
                 quotedName() + ": LUN " + printable(device.state.serialNo) + " of " + printable(device.source) +
                     " is in group " + groupText(found) + ", and not in group " + groupText(device.group()) +
                     " as the record says; nothing was imported",
                 "fictl snapshot show " + m_snapshot.name + ", and fictl device list where it was made")
        .about(m_snapshot.name);
}

void CImportChecks::requirePlaces(CProvider& provider) const
{
    for (const SDevice& device : m_snapshot.devices) {
        const std::optional<GroupKey> place = findLunPlace(provider, device.state.serialNo);
        if (place) {
            requirePlace(device, *place);
            continue;
        }
        const SInspection* const seen = m_knowledge.seen();
        if (seen == nullptr || seen->hasLun(device.group(), device.state.serialNo) != EThere::NO) continue;
        throw EFictl(EExit::BAD_RECORD,
                     quotedName() + ": group " + groupText(device.group()) + " has no LUN " +
                         printable(device.state.serialNo) + " (" + printable(device.source) + "); nothing was imported",
                     "fictl snapshot show " + m_snapshot.name + ", and fictl device list where it was made")
            .about(m_snapshot.name);
    }
    provider.forgetReport();
}

bool CImportChecks::isImageThere(const GroupKey& group, const SImageOwner& image) const
{
    if (image.owner == EImageOwner::OURS) return true;
    if (image.owner != EImageOwner::OTHERS) return false;
    const SInspection& seen = *m_knowledge.seen();
    // Granted to this host is good enough to look at it, whoever made it.
    if (seen.isGrantedHere(group, image.image) != EThere::NO) return true;
    throw EFictl(
        EExit::STATE,
        quotedName() + ": time image " + image.image + " of group " + groupText(group) + " is granted to " +
            image.holder + "; a checkpoint has one time image",
        "fictl snapshot release " + m_snapshot.name + " there, then fictl snapshot import " + m_snapshot.name + " here")
        .about(m_snapshot.name);
}

// Another host may have deleted the snapshot; then its record here is all that is left.
void CImportChecks::requireCheckpoint(const GroupKey& group, bool wasImported) const
{
    const SInspection* const seen = m_knowledge.seen();
    if (seen == nullptr) return;
    const bool isReplaced = seen->hasReplacedCheckpoint(*m_snapshot.devicesOf(group).front());
    if (!isReplaced && seen->hasCheckpoint(group, m_snapshot.checkpoint) != EThere::NO) return;
    throw EFictl(EExit::FAILED,
                 quotedName() + ": checkpoint " + m_snapshot.checkpoint + " of group " + groupText(group) +
                     (wasImported ? " is gone, and with it the copy that was imported"
                                  : " is gone, so there is "
                                    "nothing to import"),
                 "ask who deleted the snapshot; fictl snapshot delete " + m_snapshot.name + " drops this host's record")
        .about(m_snapshot.name);
}

CImportChecks::EImage CImportChecks::requireImage(const GroupKey& group) const
{
    const std::vector<const SDevice*> devices = m_snapshot.devicesOf(group);
    const bool wasImported = std::any_of(devices.begin(), devices.end(),
                                         [](const SDevice* device) { return !device->importSerial.empty(); });
    requireCheckpoint(group, wasImported);
    const SImageOwner image = findImageOwner(m_snapshot, group, m_knowledge.seen(), m_knowledge.why());
    if (image.owner == EImageOwner::NONE && wasImported) {
        throw EFictl(EExit::FAILED,
                     quotedName() + ": time image " + image.image + " of group " + groupText(group) +
                         " is gone, and with it the copy that was imported",
                     "fictl snapshot release " + m_snapshot.name + ", then fictl snapshot import " + m_snapshot.name +
                         " makes a new one of the checkpoint")
            .about(m_snapshot.name);
    }
    if (isImageThere(group, image) || wasImported) return EImage::IS_THERE;
    return image.owner == EImageOwner::UNKNOWN ? EImage::MAY_BE_THERE : EImage::IS_MISSING;
}

}  // namespace fictl
