#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/src/guardian/freezing.h"
#include "host/src/output/exit_codes.h"
#include "host/src/output/progress.h"
#include "host/src/provider/node_tree.h"

namespace fictl {

/// What the provider's make left behind.
struct SMakeResult
{
    int32_t status = 0;
    std::set<std::string> made;                  ///< nodes that have their copy
    std::map<std::string, std::string> targets;  ///< node to target-device name
    SApplianceReport report;
    std::string thawFailure;   ///< why the thaw command failed; empty when it did not
    double frozenSeconds = 0;  ///< time between the start of freeze and the end of thaw; 0 without hooks
    /// Why the application was thawed before make had ended, so that what was made does not hold what it was to hold;
    /// empty when it was not.
    std::string cutShort;
    EExit cutShortExit = EExit::OK;
    std::string cutShortNext;
};

/**
 * Takes the snapshot of a set of nodes: preselect, select, quiesce, the intent, freeze, prepare, make, thaw, unquiesce,
 * and the names of the copies. Everything that takes time is done before freeze or after thaw.
 */
class CSnapshotMaker
{
  public:
    CSnapshotMaker(CProvider& provider, const CProgress& progress, std::string session,
                   const std::vector<CNode*>& nodes);

    /**
     * Runs all steps. recordIntent is called once, last before the first step that may change the appliance. Throws
     * EFictl when a step before make fails or a stop is asked for: nothing was made then. Once make was called there is
     * always a result. The application is thawed when freeze was started, whatever happened.
     */
    SMakeResult run(const SFreezeOrder& order, const std::function<void()>& recordIntent);

  private:
    void check(int32_t status, const char* step);
    void select();
    void make(const SFreezeOrder& order, SMakeResult& result);
    void freeze(CFreezing& freezing, const SFreezeOrder& order, SMakeResult& result);
    void thaw(CFreezing& freezing, EThaw cause, const SFreezeOrder& order, SMakeResult& result);
    [[noreturn]] void nothingMade(int32_t prepared, const SMakeResult& result);
    void callMake(SMakeResult& result);
    void readHandle(SMakeResult& result);
    int32_t count() const { return static_cast<int32_t>(m_list.size()); }

    CProvider& m_provider;
    const CProgress& m_progress;
    std::string m_session;
    std::vector<obz_splitnode> m_splits;
    std::vector<obz_splitnode*> m_list;
};

}  // namespace fictl
