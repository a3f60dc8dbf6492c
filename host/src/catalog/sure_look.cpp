#include "host/src/catalog/sure_look.h"

#include <algorithm>

namespace fictl {

void CMetProcesses::add(const SListing& records)
{
    for (const SSnapshot& record : records.snapshots) {
        if (record.isHeld() || record.isInterrupted()) m_processes.push_back(record.owner);
    }
}

void CMetProcesses::add(const SHistoryEntry& entry)
{
    if (!entry.end) m_processes.push_back(entry.process);
}

void CMetProcesses::add(const SListing& records, const std::vector<SHistoryEntry>& history)
{
    add(records);
    for (const SHistoryEntry& entry : history) {
        add(entry);
    }
}

std::vector<SProcessIdentity> CMetProcesses::gone() const
{
    std::vector<SProcessIdentity> gone;
    for (const SProcessIdentity& process : m_processes) {
        if (!isAlive(process)) gone.push_back(process);
    }
    return gone;
}

bool areAmong(const std::vector<SProcessIdentity>& processes, const std::vector<SProcessIdentity>& others)
{
    return std::ranges::all_of(
        processes, [&](const SProcessIdentity& process) { return std::ranges::find(others, process) != others.end(); });
}

}  // namespace fictl
