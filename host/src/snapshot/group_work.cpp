#include "host/src/snapshot/group_work.h"

#include <string>
#include <vector>

#include "base/side_by_side.h"
#include "host/src/process/signals.h"

namespace fictl {

void CGroupWork::run(const std::set<GroupKey>& groups, const Work& work)
{
    std::vector<base::CSideBySide::Task> tasks;
    for (const GroupKey& group : groups) {
        if (!hasFailed(group)) tasks.emplace_back([this, &group, &work] { workOn(group, work); });
    }
    base::runSideBySide(std::move(tasks), m_atOnce);
}

void CGroupWork::workOn(const GroupKey& group, const Work& work)
{
    try {
        stopPoint();
        work(group);
    } catch (const EFictl& error) {
        if (error.exit() == EExit::CATALOG) throw;
        if (error.exit() == EExit::STOPPED) {
            m_isStopped = true;
            return;
        }
        const std::lock_guard guard(m_failuresLock);
        m_failures.emplace(group, error);
    }
}

std::optional<EFictl> CGroupWork::failure() const
{
    if (m_failures.empty()) {
        if (m_isStopped) stopPoint();
        return std::nullopt;
    }
    const EFictl& first = m_failures.begin()->second;
    std::string others;
    SApplianceReport report;
    for (const auto& [group, error] : m_failures) {
        if (&error != &first) others += (others.empty() ? "; failed, too: group " : ", ") + groupText(group);
        report.add(error.report());
    }
    EFictl all(first.exit(), first.what() + others);
    all.withReport(std::move(report));
    return all;
}

}  // namespace fictl
