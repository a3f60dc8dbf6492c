#pragma once

#include <utility>
#include <vector>

#include "host/src/catalog/history_entry.h"
#include "host/src/catalog/record_rows.h"

namespace fictl {

/// Processes that a look at the catalog has met at work, as it has read: owners of records, and those of entries of the
/// history without an end. Which of them live does not count.
class CMetProcesses
{
  public:
    void add(const SListing& records);
    void add(const SHistoryEntry& entry);
    void add(const SListing& records, const std::vector<SHistoryEntry>& history);

    /// Those that have ended by now.
    std::vector<SProcessIdentity> gone() const;

  private:
    std::vector<SProcessIdentity> m_processes;
};

/// Whether each of these is one of the others.
bool areAmong(const std::vector<SProcessIdentity>& processes, const std::vector<SProcessIdentity>& others);

/**
 * Looks at the catalog so that a process is taken for one that was killed only when it was: one that enters its end and
 * ends between the reading and the question whether it lives leaves a reading behind in which it is at work for ever.
 * So while a look has met a process that is gone, and was not gone before that look began, there is another look, whose
 * reading has all that the process has entered. To be called while a COwnerLock of the catalog lives.
 * @param look reads, enters the processes that it meets into the CMetProcesses& that it is given, judges, and returns
 *        what it comes to
 */
template <class Look>
auto lookUntilSure(Look look)
{
    constexpr int MOST = 10;  // where processes come and go faster than that, the last look has to do
    std::vector<SProcessIdentity> goneBefore;
    for (int count = 1;; ++count) {
        CMetProcesses met;
        auto result = look(met);
        std::vector<SProcessIdentity> gone = met.gone();
        if (count == MOST || areAmong(gone, goneBefore)) return result;
        goneBefore = std::move(gone);
    }
}

}  // namespace fictl
