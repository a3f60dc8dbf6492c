#include <unistd.h>

#include <algorithm>
#include <optional>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/record_check.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/guardian/guardian.h"
#include "host/src/inspection/image_owner.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"
#include "host/src/provider/naming.h"
#include "host/src/snapshot/importer.h"
#include "host/src/snapshot/lun_place.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

SResult importedResult(const SSnapshot& snapshot)
{
    Rows rows = {{"DEVICE", "IMPORTED AS"}};
    for (const SDevice& device : snapshot.devices) {
        rows.push_back({device.source, device.importPath});
    }
    return snapshotResult(snapshot, formatTable(rows));
}

/**
 * Brings the copies of a record to this host, from wherever an earlier import left off: what shows already is verified,
 * an image that is granted to this host is taken up, and only what is missing is made.
 */
class CSnapshotImport
{
  public:
    /// @param wasReleased part of the copies may have been given back
    CSnapshotImport(const SContext& context, CCatalog& catalog, SSnapshot& snapshot, bool& isTouched, bool wasReleased)
        : m_context(context),
          m_catalog(catalog),
          m_snapshot(snapshot),
          m_isTouched(isTouched),
          m_wasReleased(wasReleased),
          m_knowledge(context.providerFor(snapshot), context.timeout, snapshot.groups())
    {
    }

    void run();

  private:
    std::string quotedName() const { return "snapshot \"" + m_snapshot.name + "\""; }
    void forgetReleased();
    void verifyCopies();
    bool isWhole() const;
    void requireOwnCheckpoints();
    void requirePlaces();
    void requirePlace(const SDevice& device, const GroupKey& found) const;
    void requireCheckpoint(const GroupKey& group, bool wasImported) const;
    void importGroup(CImporter& importer, const GroupKey& group);
    bool isImageThere(const GroupKey& group, const SImageOwner& image) const;
    void makeImage(CImporter& importer, const GroupKey& group, bool mayBeThere);
    void findCopies(CImporter& importer, const GroupKey& group);
    [[noreturn]] void fail(const EFictl& error) const;

    const SContext& m_context;
    CCatalog& m_catalog;
    SSnapshot& m_snapshot;
    bool& m_isTouched;  // the provider was asked for something that changes anything
    bool m_wasReleased;
    CKnowledge m_knowledge;
    std::optional<CProvider> m_provider;
};

void CSnapshotImport::run()
{
    requireAgreement(m_snapshot, "imported");
    requireOwnCheckpoints();
    m_context.progress.step("look at the copies");
    m_knowledge.look();
    stopPoint();
    if (m_wasReleased) forgetReleased();
    verifyCopies();
    if (isWhole()) return;
    m_context.progress.step("start provider");
    m_provider.emplace(m_context.providerFor(m_snapshot));
    requirePlaces();
    CImporter importer(*m_provider);
    for (const GroupKey& group : m_snapshot.groups()) {
        importGroup(importer, group);
    }
}

void CSnapshotImport::requireOwnCheckpoints()
{
    for (const GroupKey& group : m_snapshot.groups()) {
        const std::optional<std::string> owner = m_catalog.otherOwner(m_snapshot.name, group, m_snapshot.checkpoint);
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

bool CSnapshotImport::isWhole() const
{
    return std::none_of(m_snapshot.devices.begin(), m_snapshot.devices.end(),
                        [](const SDevice& device) { return device.importPath.empty(); });
}

// A release that was interrupted may have deleted images without recording it: their copies are made anew.
void CSnapshotImport::forgetReleased()
{
    const SInspection* const seen = m_knowledge.seen();
    std::set<GroupKey> gone;
    for (const GroupKey& group : m_snapshot.groups()) {
        if (!m_snapshot.isImageAsked(group)) continue;
        const EThere there =
            seen == nullptr ? EThere::UNKNOWN : seen->hasImage(group, naming::imageOfCheckpoint(m_snapshot.checkpoint));
        if (there == EThere::NO) gone.insert(group);
        if (there != EThere::UNKNOWN) continue;
        throw EFictl(EExit::FAILED,
                     quotedName() + ": whether a copy of group " + groupText(group) +
                         " was given back is not known: " + m_knowledge.doubt(group),
                     "mend that and run the command again")
            .about(m_snapshot.name);
    }
    for (const GroupKey& group : gone) {
        for (SDevice* device : m_snapshot.devicesOf(group)) {
            device->forgetCopy();
        }
        m_isTouched = true;
        m_catalog.updateGroup(m_snapshot, group);
    }
}

// A path that does not show its LUN any more is looked for again; the image is what counts.
void CSnapshotImport::verifyCopies()
{
    const SInspection* const seen = m_knowledge.seen();
    for (SDevice& device : m_snapshot.devices) {
        if (device.importPath.empty()) continue;
        const bool isLost = access(device.importPath.c_str(), F_OK) != 0;
        const EThere shown = seen == nullptr || device.importSerial.empty()
                                 ? EThere::UNKNOWN
                                 : seen->shows(device.importPath, device.importSerial);
        if (!isLost && shown == EThere::UNKNOWN) {
            m_knowledge.warnUnguarded(
                "that " + printable(device.importPath) + " still shows the copy of " + printable(device.source),
                seen == nullptr ? m_knowledge.why() : "the host's disks are not known");
        }
        if (isLost || shown == EThere::NO) device.importPath.clear();
    }
}

void CSnapshotImport::requirePlace(const SDevice& device, const GroupKey& found) const
{
    if (found == device.group()) return;
    throw EFictl(EExit::BAD_RECORD,
                 quotedName() + ": LUN " + printable(device.state.serialNo) + " of " + printable(device.source) +
                     " is in group " + groupText(found) + ", and not in group " + groupText(device.group()) +
                     " as the record says; nothing was imported",
                 "fictl snapshot show " + m_snapshot.name + ", and fictl device list where it was made")
        .about(m_snapshot.name);
}

// The provider goes by the LUN's serial: where it finds it must be where the checkpoint was made.
void CSnapshotImport::requirePlaces()
{
    for (const SDevice& device : m_snapshot.devices) {
        const std::optional<GroupKey> place = findLunPlace(*m_provider, device.state.serialNo);
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
    m_provider->forgetReport();
}

void CSnapshotImport::fail(const EFictl& error) const
{
    const std::string mend =
        error.report().empty() ? "fictl doctor tells more; mend that" : "mend what the appliance reports";
    throw EFictl(error.exit(), quotedName() + ": " + error.what(),
                 mend + ", then fictl snapshot import " + m_snapshot.name)
        .withReport(error.report())
        .about(m_snapshot.name);
}

bool CSnapshotImport::isImageThere(const GroupKey& group, const SImageOwner& image) const
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
void CSnapshotImport::requireCheckpoint(const GroupKey& group, bool wasImported) const
{
    const SInspection* const seen = m_knowledge.seen();
    if (seen == nullptr || seen->hasCheckpoint(group, m_snapshot.checkpoint) != EThere::NO) return;
    throw EFictl(EExit::FAILED,
                 quotedName() + ": checkpoint " + m_snapshot.checkpoint + " of group " + groupText(group) +
                     (wasImported ? " is gone, and with it the copy that was imported"
                                  : " is gone, so there is "
                                    "nothing to import"),
                 "ask who deleted the snapshot; fictl snapshot delete " + m_snapshot.name + " drops this host's record")
        .about(m_snapshot.name);
}

void CSnapshotImport::importGroup(CImporter& importer, const GroupKey& group)
{
    const std::vector<SDevice*> devices = m_snapshot.devicesOf(group);
    if (std::none_of(devices.begin(), devices.end(),
                     [](const SDevice* device) { return device->importPath.empty(); })) {
        return;
    }
    stopPoint();
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
    if (!isImageThere(group, image) && !wasImported) makeImage(importer, group, image.owner == EImageOwner::UNKNOWN);
    findCopies(importer, group);
}

// An image that cannot be made may be there already where nothing could be looked at: then the copies can be found if
// it is granted to this host.
void CSnapshotImport::makeImage(CImporter& importer, const GroupKey& group, bool mayBeThere)
{
    m_context.progress.step("make the time image of group " + groupText(group));
    m_isTouched = true;
    const std::vector<SDevice*> devices = m_snapshot.devicesOf(group);
    for (SDevice* device : devices) {
        device->imageAsked = true;
    }
    m_catalog.updateGroup(m_snapshot, group);
    try {
        importer.makeImage(*devices.front());
    } catch (const EFictl& error) {
        if (!mayBeThere || stopRequested()) fail(error);
        try {
            importer.findCopy(*devices.front());
        } catch (const EFictl&) {
            fail(error);
        }
    }
}

void CSnapshotImport::findCopies(CImporter& importer, const GroupKey& group)
{
    for (size_t i = 0; i < m_snapshot.devices.size(); ++i) {
        SDevice& device = m_snapshot.devices[i];
        if (device.group() != group || !device.importPath.empty()) continue;
        stopPoint();
        m_context.progress.step("import " + device.source);
        m_isTouched = true;
        try {
            const CImporter::SCopy copy = importer.findCopy(device);
            device.importPath = copy.path;
            device.importSerial = copy.serial;
            device.imageAsked = true;
        } catch (const EFictl& error) {
            fail(error);
        }
        m_catalog.updateDevice(m_snapshot, i);
    }
}

SResult importSnapshot(const SContext& context, const std::string& name)
{
    requireSnapshotName(name);
    const CGuardian guardian;
    CCatalog catalog;
    context.providerFor(catalog.get(name));  // refuses another one than the record's
    const SSnapshot before = catalog.take(name, EState::IMPORTING,
                                          {EState::COMPLETE, EState::IMPORT_FAILED, EState::IMPORTING, EState::IMPORTED,
                                           EState::RELEASING, EState::RELEASE_FAILED},
                                          "imported");
    const bool wasReleased = before.state == EState::RELEASING || before.state == EState::RELEASE_FAILED;
    const SStep step = {.running = EState::IMPORTING, .failed = EState::IMPORT_FAILED, .reached = EState::IMPORTED};
    return importedResult(workOn(catalog, before, step, [&](SSnapshot& record, bool& isTouched) {
        CSnapshotImport(context, catalog, record, isTouched, wasReleased).run();
    }));
}

}  // namespace

CommandRun declareImport(COptions& options)
{
    const auto name = std::make_shared<std::string>();
    options.word("NAME", *name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    return [name](const SContext& context) { return importSnapshot(context, *name); };
}

}  // namespace fictl
