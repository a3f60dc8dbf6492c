#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/src/node_tree.h"
#include "host/src/progress.h"

namespace fictl {

/// Commands that quiesce the application around the snapshot.
struct SHooks
{
    std::string freeze;  ///< empty: none
    std::string thaw;
    std::chrono::seconds timeout{60};
};

/// What the provider's make left behind.
struct SMakeResult
{
    int32_t status = 0;
    std::set<std::string> made;                  ///< nodes that have their copy
    std::map<std::string, std::string> targets;  ///< node to target-device name
    SApplianceReport report;
    std::string thawFailure;   ///< why the thaw command failed; empty when it did not
    double frozenSeconds = 0;  ///< time between the start of freeze and the end of thaw; 0 without hooks
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
     * always a result. Thaw runs once when freeze was started, whatever happened.
     */
    SMakeResult run(const SHooks& hooks, const std::function<void()>& recordIntent);

  private:
    void check(int32_t status, const char* step);
    void select();
    void make(const SHooks& hooks, SMakeResult& result);
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
