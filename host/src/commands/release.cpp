#include <map>
#include <mutex>
#include <optional>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/command_history.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"
#include "host/src/provider/naming.h"
#include "host/src/snapshot/copy_guard.h"
#include "host/src/snapshot/group_work.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SReleaseRequest
{
    std::string name{};
    bool evenIfInUse = false;  ///< give back also what a program works with
};

/// Gives the copies of a record back: the time images go, the checkpoints stay.
class CSnapshotRelease
{
  public:
    CSnapshotRelease(const SContext& context, CCatalog& catalog, SSnapshot& snapshot, bool& isTouched)
        : m_context(context),
          m_catalog(catalog),
          m_snapshot(snapshot),
          m_isTouched(isTouched),
          m_knowledge(context.providerFor(snapshot), context.timeout, snapshot.groups())
    {
    }

    void run(bool evenIfInUse);

  private:
    void requireInspection();
    void keepForeign(const CCopyGuard& guard) const;
    void releaseGroup(const GroupKey& group, std::mutex& lock);
    void enterReleased(const GroupKey& group);
    static void enterAnswer(const GroupKey& group, const std::string& image, bool isGone, std::mutex& lock);

    const SContext& m_context;
    CCatalog& m_catalog;
    SSnapshot& m_snapshot;
    bool& m_isTouched;  // an image was asked to be deleted, or found gone
    CKnowledge m_knowledge;
    std::map<GroupKey, SImageOwner> m_foreign;  // another host's images
    bool m_hasOwn = false;
};

void CSnapshotRelease::requireInspection()
{
    if (m_knowledge.look() != nullptr) return;
    stopPoint();
    throw EFictl(EExit::FAILED,
                 "snapshot \"" + m_snapshot.name + "\": the copies cannot be given back alone: " + m_knowledge.why(),
                 m_knowledge.inspector().isThere()
                     ? "mend that, then fictl snapshot release " + m_snapshot.name
                     : "fictl snapshot delete " + m_snapshot.name + (m_snapshot.isShared() ? " --even-if-in-use" : "") +
                           " deletes the copies together with their checkpoints")
        .about(m_snapshot.name);
}

// Also with --even-if-in-use: what another host holds is not this host's to give back. But with a part of the groups
// each, two hosts could never give back anything if one had to wait for the other.
void CSnapshotRelease::keepForeign(const CCopyGuard& guard) const
{
    for (const auto& [group, found] : m_foreign) {
        if (!m_hasOwn) guard.refuseForeign(group, found);
        CProgress::warn("time image " + found.image + " of group " + groupText(group) + " is granted to " +
                        found.holder + " and stays");
    }
}

void CSnapshotRelease::run(bool evenIfInUse)
{
    m_context.progress.step("look at the copies");
    requireInspection();
    CCopyGuard guard(m_snapshot, m_knowledge, CCopyGuard::EAction::RELEASE);
    for (const GroupKey& group : m_snapshot.groups()) {
        const SImageOwner found = guard.requireOwner(group);
        if (found.owner == EImageOwner::OTHERS) m_foreign.emplace(group, found);
        m_hasOwn = m_hasOwn || found.owner == EImageOwner::OURS;
        if (!evenIfInUse) guard.requireUnused(group);
    }
    keepForeign(guard);
    CGroupWork work(m_knowledge.parallel());
    work.run(m_snapshot.groups(), [&](const GroupKey& group) { releaseGroup(group, work.lock()); });
    if (const std::optional<EFictl> failure = work.failure()) {
        throw EFictl(failure->exit(), "snapshot \"" + m_snapshot.name + "\": " + failure->what(),
                     "mend that, then fictl snapshot release " + m_snapshot.name)
            .about(m_snapshot.name);
    }
}

void CSnapshotRelease::releaseGroup(const GroupKey& group, std::mutex& lock)
{
    {
        const std::lock_guard guard(lock);
        m_isTouched = true;
    }
    const std::string image = naming::imageOfCheckpoint(m_snapshot.checkpoint);
    if (!m_foreign.contains(group) && m_knowledge.seen()->hasImage(group, image) != EThere::NO) {
        m_context.progress.step("delete the time image of group " + groupText(group));
        const std::optional<std::string> why = m_knowledge.inspector().release(group, image);
        enterAnswer(group, image, !why.has_value(), lock);
        if (why) {
            throw EFictl(EExit::NOT_DELETED,
                         "time image " + image + " of group " + groupText(group) + " was not deleted: " + *why);
        }
    }
    const std::lock_guard guard(lock);
    enterReleased(group);
}

void CSnapshotRelease::enterAnswer(const GroupKey& group, const std::string& image, bool isGone, std::mutex& lock)
{
    CCommandHistory* const history = CCommandHistory::current();
    if (history == nullptr) return;
    const std::lock_guard guard(lock);
    history->settle({.verb = "delete",
                     .kind = "image",
                     .appliance = group.first,
                     .group = group.second,
                     .name = image,
                     .outcome = isGone ? EOutcome::SURE : EOutcome::LOST});
}

void CSnapshotRelease::enterReleased(const GroupKey& group)
{
    for (SDevice* const device : m_snapshot.devicesOf(group)) {
        device->forgetCopy();
    }
    m_catalog.updateGroup(m_snapshot, group);
}

SResult releaseSnapshot(const SContext& context, const SReleaseRequest& request)
{
    const std::string& name = request.name;
    requireSnapshotName(name);
    const CGuardian guardian;
    CCatalog catalog;
    context.providerFor(catalog.get(name));  // refuses another one than the record's
    const SSnapshot before = catalog.take(name, EState::RELEASING,
                                          {EState::COMPLETE, EState::IMPORTING, EState::IMPORT_FAILED, EState::IMPORTED,
                                           EState::RELEASING, EState::RELEASE_FAILED},
                                          "released");
    const SStep step = {.running = EState::RELEASING, .failed = EState::RELEASE_FAILED, .reached = EState::COMPLETE};
    const SSnapshot snapshot = workOn(catalog, before, step, [&](SSnapshot& record, bool& isTouched) {
        CSnapshotRelease(context, catalog, record, isTouched).run(request.evenIfInUse);
    });
    return snapshotResult(
        snapshot, "snapshot \"" + name + "\" is released: its copies are gone from this host, its checkpoints stay\n");
}

}  // namespace

CommandRun declareRelease(COptions& options)
{
    const auto request = std::make_shared<SReleaseRequest>();
    options.word("NAME", request->name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    options.flag("--even-if-in-use", request->evenIfInUse, "Give back also a copy that a program works with");
    return [request](const SContext& context) {
        return context.dryRun.empty() ? releaseSnapshot(context, *request) : dryRunOf(context, request->name);
    };
}

}  // namespace fictl
