#include "host/src/snapshot_maker.h"

#include "framework/include/obzx_runtime.h"
#include "host/src/error.h"
#include "host/src/hook.h"
#include "host/src/names.h"
#include "host/src/signals.h"

namespace fictl {

namespace {

/// Gives what quiesce took, however the scope is left.
class CQuiesced
{
  public:
    explicit CQuiesced(std::function<void()> end) : m_end(std::move(end)) {}
    ~CQuiesced() { m_end(); }
    CQuiesced(const CQuiesced&) = delete;
    CQuiesced& operator=(const CQuiesced&) = delete;

  private:
    std::function<void()> m_end;
};

/// Thaws once, however the scope is left, as soon as freeze was started: a freeze that failed may have frozen a part.
class CFrozen
{
  public:
    CFrozen(const SHooks& hooks, const CProgress& progress, SMakeResult& result)
        : m_hooks(hooks), m_progress(progress), m_result(result)
    {
    }
    ~CFrozen() { thaw(); }
    CFrozen(const CFrozen&) = delete;
    CFrozen& operator=(const CFrozen&) = delete;

    void freeze()
    {
        if (m_hooks.freeze.empty()) return;
        m_progress.step("freeze");
        m_start = std::chrono::steady_clock::now();
        m_frozen = true;
        const SHookResult hook = runHook(m_hooks.freeze, m_hooks.timeout, true);
        if (hook.ok) return;
        thaw();
        const std::string also =
            m_result.thawFailure.empty() ? "" : "; the thaw command failed too: " + m_result.thawFailure;
        stopPointAfter(also);
        throw EFictl(EExit::HOOK, "freeze command \"" + printable(m_hooks.freeze) + "\" failed: " + hook.reason + also,
                     "nothing was made; mend the command and run again");
    }

    void thaw()
    {
        if (!m_frozen) return;
        m_frozen = false;
        const SHookResult hook = runHook(m_hooks.thaw, m_hooks.timeout, false);
        const std::chrono::duration<double> frozen = std::chrono::steady_clock::now() - m_start;
        m_result.frozenSeconds = frozen.count();
        m_progress.step("thaw");
        if (!hook.ok) m_result.thawFailure = "\"" + printable(m_hooks.thaw) + "\": " + hook.reason;
    }

    /// As stopPoint, but tells of a thaw that failed on the way out.
    static void stopPointAfter(const std::string& also)
    {
        if (stopRequested()) throw EFictl(EExit::STOPPED, "stopped by a signal before the snapshot was made" + also);
    }

  private:
    const SHooks& m_hooks;
    const CProgress& m_progress;
    SMakeResult& m_result;
    std::chrono::steady_clock::time_point m_start;
    bool m_frozen = false;
};

}  // namespace

CSnapshotMaker::CSnapshotMaker(CProvider& provider, const CProgress& progress, std::string session,
                               const std::vector<CNode*>& nodes)
    : m_provider(provider), m_progress(progress), m_session(std::move(session))
{
    m_splits.reserve(nodes.size());
    for (CNode* node : nodes) {
        // The first split method that the provider announced for the node.
        const obz_combo* const combo = node->record()->combos;
        char* const split = combo == nullptr || combo->split == nullptr ? nullptr : combo->split->name;
        m_splits.push_back({split, node->record()});
    }
    for (obz_splitnode& split : m_splits) {
        m_list.push_back(&split);
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
    check(call.preselect(nullptr, m_session.c_str(), m_list.data(), count()), "preselect");
    check(call.select(nullptr, m_session.c_str(), m_list.data(), count()), "select");
}

SMakeResult CSnapshotMaker::run(const SHooks& hooks, const std::function<void()>& recordIntent)
{
    const SEntryPoints& call = m_provider.call();
    m_progress.step("select");
    select();
    stopPoint();
    SMakeResult result;
    {
        m_progress.step("quiesce");
        const CQuiesced quiesced([this] { m_provider.call().unquiesce(nullptr, m_list.data(), count()); });
        check(call.quiesce(nullptr, m_list.data(), count()), "quiesce");
        recordIntent();
        make(hooks, result);
    }
    readHandle(result);
    return result;
}

void CSnapshotMaker::make(const SHooks& hooks, SMakeResult& result)
{
    const SEntryPoints& call = m_provider.call();
    stopPoint();
    CFrozen frozen(hooks, m_progress, result);
    frozen.freeze();
    const int32_t prepared = call.prepare(nullptr, m_session.c_str(), m_list.data(), count(), 0);
    if (prepared != OBZ_OK || stopRequested()) {
        frozen.thaw();
        const std::string also = result.thawFailure.empty() ? "" : "; the thaw command failed: " + result.thawFailure;
        check(prepared, ("prepare" + also).c_str());
        CFrozen::stopPointAfter(also);
    }
    m_progress.step("make");
    callMake(result);
    frozen.thaw();
}

void CSnapshotMaker::callMake(SMakeResult& result)
{
    m_provider.forgetReport();
    obzx_objid** identities = nullptr;
    int32_t identityCount = 0;
    result.status =
        m_provider.call().make(nullptr, m_session.c_str(), m_list.data(), count(), &identities, &identityCount);
    for (int32_t i = 0; identities != nullptr && i < identityCount; ++i) {
        if (identities[i] != nullptr && identities[i]->name != nullptr) result.made.insert(identities[i]->name);
    }
    if (identities != nullptr) obzx_free_objid_array(identities, identityCount);
}

void CSnapshotMaker::readHandle(SMakeResult& result)
{
    result.report = m_provider.takeReport();
    obz_snaphandle handle{};
    const int32_t status = m_provider.call().update_snapshot_handle(m_session.c_str(), &handle);
    for (int32_t i = 0; status == OBZ_OK && i < handle.count; ++i) {
        const obz_snaphandle_entry& entry = handle.entries[i];
        if (entry.node == nullptr || entry.target == nullptr) continue;
        result.made.insert(entry.node);
        result.targets[entry.node] = entry.target;
    }
    obzx_free_snaphandle(&handle);
}

}  // namespace fictl
