#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/guardian/freezing.h"
#include "host/src/output/exit_codes.h"
#include "host/src/output/progress.h"
#include "host/src/provider/node_tree.h"

namespace fictl {

/// What the provider's make left behind of one group.
struct SGroupMade
{
    bool wasAsked = false;  ///< false: the application was thawed before the group's turn
    int32_t status = 0;
    SApplianceReport report;
};

/// What the provider's make left behind.
struct SMakeResult
{
    int32_t status = 0;                          ///< of the first group whose make failed
    std::map<GroupKey, SGroupMade> groups;       ///< every group of the snapshot
    std::set<std::string> made;                  ///< nodes that have their copy
    std::map<std::string, std::string> targets;  ///< node to target-device name
    SApplianceReport report;                     ///< of all groups, in their order
    std::string thawFailure;                     ///< why the thaw command failed; empty when it did not
    double frozenSeconds = 0;  ///< time between the start of freeze and the end of thaw; 0 without hooks
    /// Why the application was thawed before make had ended, so that what was made does not hold what it was to hold;
    /// empty when it was not.
    std::string cutShort;
    EExit cutShortExit = EExit::OK;
    std::string cutShortNext;
};

/// The nodes of each group.
using GroupNodes = std::map<GroupKey, std::vector<CNode*>>;

/**
 * Takes the snapshot of a set of nodes, with a provider's session for each group: preselect, select, quiesce, the
 * intent, freeze, prepare, make, thaw, unquiesce, and the names of the copies. Everything that takes time is done
 * before freeze or after thaw. Groups are made side by side, so that the application is frozen as long as the slowest
 * takes. Each is tried, whatever becomes of the others, unless the application was thawed before its turn.
 */
class CSnapshotMaker
{
  public:
    /// @param session name of the session; of several groups each has this name with "-1", "-2" behind it, in order
    /// @param atOnce how many groups may be made at once
    CSnapshotMaker(CProvider& provider, const CProgress& progress, const std::string& session, const GroupNodes& groups,
                   size_t atOnce);

    /**
     * Runs all steps. recordIntent is called once, last before the first step that may change the appliance. Throws
     * EFictl when a step before make fails or a stop is asked for: nothing was made then. Once make was called there is
     * always a result. The application is thawed when freeze was started, whatever happened.
     */
    SMakeResult run(const SFreezeOrder& order, const std::function<void()>& recordIntent);

  private:
    /// A session of the provider, with the nodes of one group. It stays where it is.
    struct SSession
    {
        GroupKey group;
        std::string name;
        std::vector<obz_splitnode> splits;
        std::vector<obz_splitnode*> list;
        SGroupMade result;
        std::set<std::string> made;

        obz_splitnode** nodes() { return list.data(); }
        int32_t count() const { return static_cast<int32_t>(list.size()); }
    };
    class CQuiesced;

    void check(int32_t status, const char* step);
    void select();
    void make(const SFreezeOrder& order, SMakeResult& result);
    int32_t prepare();
    void freeze(CFreezing& freezing, const SFreezeOrder& order, SMakeResult& result);
    void thaw(CFreezing& freezing, EThaw cause, const SFreezeOrder& order, SMakeResult& result);
    [[noreturn]] void nothingMade(int32_t prepared, const SMakeResult& result);
    void makeGroups(const CFreezing& freezing, SMakeResult& result);
    void makeGroup(SSession& session);
    void readHandle(const SSession& session, SMakeResult& result);

    CProvider& m_provider;
    const CProgress& m_progress;
    size_t m_atOnce;
    std::vector<SSession> m_sessions;  // in the groups' order
};

}  // namespace fictl
