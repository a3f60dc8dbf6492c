#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/error.h"

namespace fictl {

/**
 * Work on groups of a snapshot, side by side. A group that fails does not keep the others from their turn; a stop of
 * fictl does, and lets those that have begun go on.
 */
class CGroupWork
{
  public:
    /// On any thread. What it throws is the group's failure, but for EFictl (CATALOG), which run throws again.
    using Work = std::function<void(const GroupKey&)>;

    /// @param atOnce how many groups may be worked on at once
    explicit CGroupWork(size_t atOnce) : m_atOnce(atOnce) {}
    CGroupWork(const CGroupWork&) = delete;
    CGroupWork& operator=(const CGroupWork&) = delete;

    /// Does the work for the groups that have not failed before. One call at a time.
    void run(const std::set<GroupKey>& groups, const Work& work);
    bool hasFailed(const GroupKey& group) const { return m_failures.contains(group); }  ///< between runs
    /// To be held while a group's work uses what belongs to all, such as the record and the catalog.
    std::mutex& lock() { return m_lock; }

    /// What has failed, as one: text and exit code of the first group, the names of the others, the reports of all.
    /// Nothing when nothing has failed; then throws EFictl (STOPPED) when a stop has kept a group from its turn.
    std::optional<EFictl> failure() const;

  private:
    void workOn(const GroupKey& group, const Work& work);

    size_t m_atOnce;
    std::mutex m_lock;
    std::atomic<bool> m_isStopped{false};
    std::mutex m_failuresLock;
    std::map<GroupKey, EFictl> m_failures;
};

}  // namespace fictl
