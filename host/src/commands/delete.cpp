#include <exception>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/record_check.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/commands/deletion.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"
#include "host/src/snapshot/copy_guard.h"
#include "host/src/snapshot/disposal.h"
#include "host/src/snapshot/lun_place.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SDeleteRequest
{
    std::string name{};
    bool forget = false;       ///< drop the record, ask the appliance for nothing
    bool evenIfInUse = false;  ///< delete also what somebody works with
    bool ifPresent = false;    ///< no snapshot of that name is as good
};

/// Deletes what a record names, its groups side by side: looks at all of them first, and enters each group that is
/// gone.
class CSnapshotDeletion
{
  public:
    CSnapshotDeletion(const SContext& context, CCatalog& catalog, SSnapshot& snapshot, bool& isTouched)
        : m_context(context),
          m_catalog(catalog),
          m_snapshot(snapshot),
          m_isTouched(isTouched),
          m_knowledge(context.providerFor(snapshot), context.timeout, snapshot.groupsToDispose())
    {
        for (const GroupKey& group : snapshot.groupsToDispose()) {
            m_groups.emplace(group, EImageDisposal::DELETE);
        }
    }

    /// Disposes of every group; returns what became of each. Throws when one was refused or not confirmed.
    json run(bool evenIfInUse);

  private:
    void keep(const GroupKey& group, const std::string& why, const json& owner);
    void keepOthers();
    void keepLaterOnes();
    void guard();
    void requireHome(const GroupKey& group);
    void disposeOfAll();
    void tell(const GroupKey& group, const SDisposal& disposal);
    void enterRemoved(const GroupKey& group);
    void startProvider();
    CProvider& provider();
    json entryOf(const GroupKey& group) const;

    const SContext& m_context;
    CCatalog& m_catalog;
    SSnapshot& m_snapshot;
    bool& m_isTouched;  // the provider was asked to delete something
    DisposalGroups m_groups;
    CKnowledge m_knowledge;
    std::optional<CProvider> m_provider;
    std::exception_ptr m_notStarted;  // why the provider did not start
    json m_results = json::array();
    std::string m_failed;  // groups that were not confirmed
    SApplianceReport m_report;
};

// A failure is told once the provider is needed: that may never be.
void CSnapshotDeletion::startProvider()
{
    m_context.progress.step("start provider");
    try {
        m_provider.emplace(m_context.providerFor(m_snapshot));
    } catch (const EFictl&) {
        m_notStarted = std::current_exception();
    }
}

CProvider& CSnapshotDeletion::provider()
{
    if (!m_provider && !m_notStarted) startProvider();
    if (m_notStarted) std::rethrow_exception(m_notStarted);
    return *m_provider;
}

json CSnapshotDeletion::entryOf(const GroupKey& group) const
{
    return {{"appliance", group.first}, {"group", group.second}, {"checkpoint", m_snapshot.checkpoint}};
}

json CSnapshotDeletion::run(bool evenIfInUse)
{
    requireAgreement(m_snapshot, "deleted");
    keepOthers();
    if (!evenIfInUse && !m_groups.empty()) guard();
    if (!m_groups.empty()) disposeOfAll();
    if (m_failed.empty()) return m_results;
    throw EFictl(EExit::NOT_DELETED,
                 "snapshot \"" + m_snapshot.name + "\": not deleted from group " + m_failed + "; the record stays",
                 "mend what the appliance reports, then fictl snapshot delete " + m_snapshot.name)
        .withReport(m_report)
        .about(m_snapshot.name);
}

void CSnapshotDeletion::keep(const GroupKey& group, const std::string& why, const json& owner)
{
    m_context.progress.step("keep the checkpoint of group " + groupText(group));
    CProgress::warn("checkpoint " + m_snapshot.checkpoint + " of group " + groupText(group) + " " + why + " and stays");
    json entry = entryOf(group);
    entry["result"] = "kept";
    entry["owner"] = owner;
    m_results.push_back(std::move(entry));
}

// A checkpoint is named by a process id, which is used again: another snapshot may own the one of that name.
void CSnapshotDeletion::keepOthers()
{
    std::erase_if(m_groups, [this](const auto& entry) {
        const GroupKey& group = entry.first;
        const std::optional<std::string> owner = m_catalog.otherOwner(m_snapshot.name, group, m_snapshot.checkpoint);
        if (owner) keep(group, "belongs to snapshot \"" + *owner + "\"", *owner);
        return owner.has_value();
    });
}

// The same where no catalog here knows it: this snapshot's is gone then.
void CSnapshotDeletion::keepLaterOnes()
{
    const SInspection* const seen = m_knowledge.seen();
    if (seen == nullptr) return;
    std::erase_if(m_groups, [this, seen](const auto& entry) {
        const SDevice& device = *m_snapshot.devicesOf(entry.first).front();
        const bool isReplaced = seen->hasReplacedCheckpoint(device);
        if (isReplaced) {
            keep(entry.first,
                 "was made at " + seen->checkpointTime(entry.first, m_snapshot.checkpoint) +
                     ", and that of this snapshot at " + printable(device.madeAt) + ": it is another one",
                 nullptr);
        }
        return isReplaced;
    });
}

// Everything is looked at before anything is deleted.
void CSnapshotDeletion::guard()
{
    // What is on the appliances is looked at while the provider reads its inventory of them.
    m_knowledge.beginLook();
    startProvider();
    m_context.progress.step("look at the copies");
    m_knowledge.look();
    stopPoint();
    keepLaterOnes();
    CCopyGuard guard(m_snapshot, m_knowledge, CCopyGuard::EAction::DELETE);
    for (auto& [group, image] : m_groups) {
        if (guard.requireOwnImage(group) == EThere::NO) image = EImageDisposal::KEEP;
        guard.requireUnused(group);
        requireHome(group);
    }
}

void CSnapshotDeletion::requireHome(const GroupKey& group)
{
    for (const SDevice* device : m_snapshot.devicesOf(group)) {
        const SInspection* const seen = m_knowledge.seen();
        if (seen != nullptr && seen->hasLun(group, device->state.serialNo) == EThere::YES) continue;
        const std::optional<GroupKey> home = findLunPlace(provider(), device->state.serialNo);
        if (!home || *home == group) continue;
        throw EFictl(EExit::NOT_DELETED,
                     "snapshot \"" + m_snapshot.name + "\": LUN " + printable(device->state.serialNo) + " of " +
                         printable(device->source) + " is in group " + groupText(*home) +
                         " now, and was recorded in group " + groupText(group) +
                         "; nothing was deleted and the record stays",
                     "see which of the two is right; fictl snapshot delete " + m_snapshot.name +
                         " --even-if-in-use deletes what the recorded group has")
            .about(m_snapshot.name);
    }
}

void CSnapshotDeletion::disposeOfAll()
{
    CProvider& asked = provider();
    const auto begin = [this](const GroupKey& group) {
        stopPoint();
        m_isTouched = true;
        m_context.progress.step("delete time image and checkpoint of group " + groupText(group));
    };
    const auto confirmed = [this](const GroupKey& group) { enterRemoved(group); };
    for (const auto& [group, disposal] :
         disposeOfGroups(asked, m_knowledge, m_snapshot, m_groups, {.begin = begin, .confirmed = confirmed})) {
        tell(group, disposal);
    }
}

void CSnapshotDeletion::tell(const GroupKey& group, const SDisposal& disposal)
{
    json entry = entryOf(group);
    entry["result"] = disposal.confirmed ? "removed" : "failed";
    m_results.push_back(std::move(entry));
    if (disposal.confirmed) return;
    const std::string status = std::to_string(disposal.status);
    m_failed += (m_failed.empty() ? "" : ", ") + groupText(group) +
                (disposal.status == OBZ_OK ? " (not confirmed)" : " (status " + status + ")");
    m_report.add(disposal.report);
}

// The record tells the truth also when another group is not deleted.
void CSnapshotDeletion::enterRemoved(const GroupKey& group)
{
    for (SDevice* const device : m_snapshot.devicesOf(group)) {
        device->made = EMade::NO;
        device->forgetCopy();
    }
    m_catalog.updateGroup(m_snapshot, group);
}

SResult deletedResult(const std::string& name, const json& groups, bool forgotten)
{
    return resultOf(
        {{"deleted", {{"name", name}, {"groups", groups}, {"forgotten", forgotten}}}},
        "snapshot \"" + name + (forgotten ? "\" is forgotten; the appliance was not asked\n" : "\" is deleted\n"));
}

void warnOfThaw(const SSnapshot& before)
{
    if (before.thaw.empty()) return;
    // A creation that was killed did not record whether its guardian thawed the application.
    const std::string doubt = before.state == EState::CREATING ? "unless its guardian thawed it, " : "";
    CProgress::warn(doubt + "the application may still be frozen; its thaw command was: " + printable(before.thaw));
}

SResult deleteSnapshot(const SContext& context, const SDeleteRequest& request)
{
    requireSnapshotName(request.name);
    if (request.ifPresent && !CCatalogReader().find(request.name)) {
        return resultOf({{"deleted", {{"name", request.name}, {"groups", json::array()}, {"forgotten", false}}},
                         {"already_gone", true}},
                        quotedSnapshot(request.name) + " is not there; nothing was deleted\n");
    }
    std::optional<CGuardian> guardian;
    if (!request.forget) guardian.emplace();
    CCatalog catalog;
    if (!request.forget) context.providerFor(catalog.get(request.name));  // refuses another one than the record's
    if (request.forget) {
        warnOfThaw(catalog.drop(request.name, DELETABLE, "deleted"));
        return deletedResult(request.name, json::array(), true);
    }
    return deletedResult(request.name,
                         deleteRecorded(context, catalog, request.name, {.evenIfInUse = request.evenIfInUse}), false);
}

}  // namespace

json deleteRecorded(const SContext& context, CCatalog& catalog, const std::string& name, const SDeletion& deletion)
{
    const SSnapshot before = catalog.take(name, EState::DELETING, deletion.states, "deleted");
    warnOfThaw(before);
    const SStep step = {.running = EState::DELETING, .failed = EState::DELETE_FAILED};
    json groups;
    workOn(catalog, before, step, [&](SSnapshot& record, bool& isTouched) {
        groups = CSnapshotDeletion(context, catalog, record, isTouched).run(deletion.evenIfInUse);
    });
    return groups;
}

CommandRun declareDelete(COptions& options)
{
    const auto request = std::make_shared<SDeleteRequest>();
    options.word("NAME", request->name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    options.flag("--forget", request->forget, "Drop the record only; ask the appliance for nothing");
    options.flag("--if-present", request->ifPresent, "Do nothing when there is no snapshot of that name");
    options.flag("--even-if-in-use", request->evenIfInUse, "Delete also what another host or a program works with");
    return [request](const SContext& context) {
        return context.dryRun.empty() ? deleteSnapshot(context, *request) : dryRunOf(context, request->name);
    };
}

}  // namespace fictl
