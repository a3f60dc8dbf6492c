#include <unistd.h>

#include <algorithm>
#include <optional>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/record_check.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/guardian/guardian.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"
#include "host/src/provider/naming.h"
#include "host/src/snapshot/group_import.h"
#include "host/src/snapshot/import_checks.h"
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
          m_knowledge(context.providerFor(snapshot), context.timeout, snapshot.groups()),
          m_checks(snapshot, m_knowledge)
    {
    }

    void run();

  private:
    std::string quotedName() const { return "snapshot \"" + m_snapshot.name + "\""; }
    void look();
    void startProvider();
    void forgetReleased();
    void verifyCopies();
    bool isWhole() const;
    void importGroups();
    [[noreturn]] void fail(const EFictl& error) const;

    const SContext& m_context;
    CCatalog& m_catalog;
    SSnapshot& m_snapshot;
    bool& m_isTouched;  // the provider was asked for something that changes anything
    bool m_wasReleased;
    CKnowledge m_knowledge;
    const CImportChecks m_checks;
    std::optional<CProvider> m_provider;
};

void CSnapshotImport::run()
{
    requireAgreement(m_snapshot, "imported");
    m_checks.requireOwnCheckpoints(m_catalog);
    look();
    if (m_wasReleased) forgetReleased();
    verifyCopies();
    if (isWhole()) return;
    if (!m_provider) startProvider();
    m_checks.requirePlaces(*m_provider);
    importGroups();
}

// What is on the appliances is looked at while the provider reads its inventory of them, where it is needed for
// certain.
void CSnapshotImport::look()
{
    if (!isWhole()) {
        m_knowledge.beginLook();
        startProvider();
    }
    m_context.progress.step("look at the copies");
    m_knowledge.look();
    stopPoint();
}

void CSnapshotImport::startProvider()
{
    m_context.progress.step("start provider");
    m_provider.emplace(m_context.providerFor(m_snapshot));
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

void CSnapshotImport::importGroups()
{
    CGroupImport::Images images;
    for (const SDevice& device : m_snapshot.devices) {
        const GroupKey group = device.group();
        if (device.importPath.empty() && !images.contains(group)) images.emplace(group, m_checks.requireImage(group));
    }
    stopPoint();
    CGroupWork work(m_knowledge.parallel());
    CGroupImport(*m_provider, m_catalog, m_context.progress, m_snapshot, m_isTouched).run(images, work);
    if (const std::optional<EFictl> failure = work.failure()) fail(*failure);
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
    return [name](const SContext& context) {
        return context.dryRun.empty() ? importSnapshot(context, *name) : dryRunOf(context, *name);
    };
}

}  // namespace fictl
