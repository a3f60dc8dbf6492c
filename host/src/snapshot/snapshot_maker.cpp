#include "host/src/snapshot/snapshot_maker.h"

#include "base/side_by_side.h"
#include "framework/include/obzx_runtime.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string alsoFailed(const SMakeResult& result)
{
    return result.thawFailure.empty() ? "" : "; the thaw command failed too: " + result.thawFailure;
}

void tellEarlyThaw(const SThawed& thawed, SMakeResult& result)
{
    const std::string what =
        "the application was thawed after " + secondsText(thawed.seconds) + ", before its checkpoints were made";
    if (thawed.cause == EThaw::STOPPED) {
        result.cutShort = "stopped by a signal: " + what;
        result.cutShortExit = EExit::STOPPED;
        // fictl was asked to stop: what settles the snapshot from here on has to be answered soon.
        obzx_set_run_limit(static_cast<uint64_t>(SETTLING_SECONDS.count()));
        result.cutShortNext = "run the command again";
    } else if (thawed.cause == EThaw::TIMED_OUT) {
        result.cutShort = what + ": it was frozen as long as --max-freeze allows";
        result.cutShortExit = EExit::HOOK;
        result.cutShortNext = "find out why the appliance takes so long, or give a larger --max-freeze";
    } else {
        result.cutShort = what + ": the guardian process was killed";
        result.cutShortExit = EExit::HOOK;
        result.cutShortNext = "run the command again, and leave the process fictl-guardian alone";
    }
}

}  // namespace

/// Gives what quiesce took, however the scope is left.
class CSnapshotMaker::CQuiesced
{
  public:
    explicit CQuiesced(CProvider& provider) : m_provider(provider) {}
    ~CQuiesced()
    {
        for (SSession* const session : m_sessions) {
            m_provider.call().unquiesce(nullptr, session->nodes(), session->count());
        }
    }
    CQuiesced(const CQuiesced&) = delete;
    CQuiesced& operator=(const CQuiesced&) = delete;

    int32_t quiesce(SSession& session)
    {
        // Also one that fails may have taken something.
        m_sessions.push_back(&session);
        return m_provider.call().quiesce(nullptr, session.nodes(), session.count());
    }

  private:
    CProvider& m_provider;
    std::vector<SSession*> m_sessions;
};

CSnapshotMaker::CSnapshotMaker(CProvider& provider, const CProgress& progress, const std::string& session,
                               const GroupNodes& groups, size_t atOnce)
    : m_provider(provider), m_progress(progress), m_atOnce(atOnce)
{
    m_sessions.reserve(groups.size());
    for (const auto& [group, nodes] : groups) {
        SSession& made = m_sessions.emplace_back();
        made.group = group;
        made.name = groups.size() == 1 ? session : session + "-" + std::to_string(m_sessions.size());
        made.splits.reserve(nodes.size());
        for (CNode* node : nodes) {
            // The first split method that the provider announced for the node.
            const obz_combo* const combo = node->record()->combos;
            char* const split = combo == nullptr || combo->split == nullptr ? nullptr : combo->split->name;
            made.splits.push_back({split, node->record()});
        }
        for (obz_splitnode& split : made.splits) {
            made.list.push_back(&split);
        }
    }
}

void CSnapshotMaker::check(int32_t status, const char* step)
{
    if (status == OBZ_OK) return;
    throw EFictl(EExit::FAILED, std::string("the provider failed to ") + step + " the devices (status " +
                                    std::to_string(status) + "); nothing was made")
        .withReport(m_provider.takeReport());
}

void CSnapshotMaker::select()
{
    const SEntryPoints& call = m_provider.call();
    for (SSession& session : m_sessions) {
        check(call.preselect(nullptr, session.name.c_str(), session.nodes(), session.count()), "preselect");
        check(call.select(nullptr, session.name.c_str(), session.nodes(), session.count()), "select");
    }
}

SMakeResult CSnapshotMaker::run(const SFreezeOrder& order, const std::function<void()>& recordIntent)
{
    m_progress.step("select");
    select();
    stopPoint();
    SMakeResult result;
    {
        m_progress.step("quiesce");
        CQuiesced quiesced(m_provider);
        for (SSession& session : m_sessions) {
            check(quiesced.quiesce(session), "quiesce");
        }
        recordIntent();
        make(order, result);
    }
    for (const SSession& session : m_sessions) {
        readHandle(session, result);
    }
    return result;
}

int32_t CSnapshotMaker::prepare()
{
    for (SSession& session : m_sessions) {
        const int32_t status =
            m_provider.call().prepare(nullptr, session.name.c_str(), session.nodes(), session.count(), 0);
        if (status != OBZ_OK) return status;
    }
    return OBZ_OK;
}

void CSnapshotMaker::make(const SFreezeOrder& order, SMakeResult& result)
{
    stopPoint();
    CFreezing freezing(order);
    freeze(freezing, order, result);
    const int32_t prepared = prepare();
    if (prepared != OBZ_OK || stopRequested() || freezing.isCutShort()) {
        thaw(freezing, prepared == OBZ_OK ? EThaw::STOPPED : EThaw::FAILED, order, result);
        nothingMade(prepared, result);
    }
    m_progress.step("make");
    makeGroups(freezing, result);
    thaw(freezing, result.status == OBZ_OK ? EThaw::MADE : EThaw::FAILED, order, result);
}

void CSnapshotMaker::freeze(CFreezing& freezing, const SFreezeOrder& order, SMakeResult& result)
{
    if (order.hooks.freeze.empty()) return;
    m_progress.step("freeze");
    const SHookResult hook = freezing.freeze();
    if (hook.ok) return;
    thaw(freezing, EThaw::FAILED, order, result);
    if (result.cutShortExit == EExit::STOPPED) nothingMade(OBZ_OK, result);
    throw EFictl(EExit::HOOK,
                 "freeze command \"" + printable(order.hooks.freeze) + "\" failed: " + hook.reason + alsoFailed(result),
                 "nothing was made; mend the command and run again")
        .frozenFor(result.frozenSeconds);
}

void CSnapshotMaker::thaw(CFreezing& freezing, EThaw cause, const SFreezeOrder& order, SMakeResult& result)
{
    const std::optional<SThawed> thawed = freezing.thaw(cause);
    if (!thawed) return;
    m_progress.step("thaw");
    result.frozenSeconds = thawed->seconds;
    if (!thawed->result.ok) result.thawFailure = "\"" + printable(order.hooks.thaw) + "\": " + thawed->result.reason;
    if (thawed->isEarly()) tellEarlyThaw(*thawed, result);
}

// Why make was never called.
void CSnapshotMaker::nothingMade(int32_t prepared, const SMakeResult& result)
{
    const std::string also = alsoFailed(result);
    EFictl error(EExit::STOPPED, "stopped by a signal before the snapshot was made" + also);
    if (result.cutShortExit == EExit::HOOK) {
        error = EFictl(EExit::HOOK, result.cutShort + "; nothing was made" + also, result.cutShortNext);
    } else if (prepared != OBZ_OK && result.cutShort.empty()) {
        error = EFictl(EExit::FAILED, "the provider failed to prepare the devices (status " + std::to_string(prepared) +
                                          "); nothing was made" + also);
    }
    throw error.frozenFor(result.frozenSeconds).withReport(m_provider.takeReport());
}

void CSnapshotMaker::makeGroups(const CFreezing& freezing, SMakeResult& result)
{
    std::vector<base::CSideBySide::Task> groups;
    for (SSession& session : m_sessions) {
        groups.emplace_back([this, &session, &freezing] {
            // What would be made now does not hold what it is to hold.
            if (!freezing.isCutShort()) makeGroup(session);
        });
    }
    base::runSideBySide(std::move(groups), m_atOnce);
    for (SSession& session : m_sessions) {
        if (result.status == OBZ_OK) result.status = session.result.status;
        result.report.add(session.result.report);
        result.made.merge(session.made);
        result.groups.emplace(session.group, std::move(session.result));
    }
}

void CSnapshotMaker::makeGroup(SSession& session)
{
    const CProvider::COwnReport own(m_provider);
    obzx_objid** identities = nullptr;
    int32_t identityCount = 0;
    session.result.wasAsked = true;
    session.result.status = m_provider.call().make(nullptr, session.name.c_str(), session.nodes(), session.count(),
                                                   &identities, &identityCount);
    for (int32_t i = 0; identities != nullptr && i < identityCount; ++i) {
        if (identities[i] != nullptr && identities[i]->name != nullptr) session.made.insert(identities[i]->name);
    }
    if (identities != nullptr) obzx_free_objid_array(identities, identityCount);
    session.result.report = m_provider.takeReport();
}

void CSnapshotMaker::readHandle(const SSession& session, SMakeResult& result)
{
    obz_snaphandle handle{};
    const int32_t status = m_provider.call().update_snapshot_handle(session.name.c_str(), &handle);
    for (int32_t i = 0; status == OBZ_OK && i < handle.count; ++i) {
        const obz_snaphandle_entry& entry = handle.entries[i];
        if (entry.node == nullptr || entry.target == nullptr) continue;
        result.made.insert(entry.node);
        result.targets[entry.node] = entry.target;
    }
    obzx_free_snaphandle(&handle);
}

}  // namespace fictl
