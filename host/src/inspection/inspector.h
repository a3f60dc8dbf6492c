#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>

#include "host/src/inspection/inspection.h"

namespace fictl {

/**
 * The program that a provider may ship beside its library to look at its appliances without changing them:
 * <provider>-inspect, in the library's own folder for a provider that is given by path, else in ../libexec/obzx seen
 * from the folder of fictl. Each call waits for its end; used by one thread. None throws but std::bad_alloc.
 */
class CInspector
{
  public:
    /// @param limit of a single appliance command; 0: the provider's own
    CInspector(const std::string& provider, std::chrono::seconds limit);

    bool isThere() const { return !m_path.empty(); }
    const std::string& path() const { return m_path; }

    /// Looks at some groups, or at everything when there is none. Nothing when no document could be had; why() tells.
    std::optional<SInspection> look(const std::set<GroupKey>& groups, bool stopOnSignal = true);
    /// Looks at the LUNs and checkpoints of every group, and at no time image.
    std::optional<SInspection> lookAtInventory();
    const std::string& why() const { return m_why; }

    /// Gives each command no more than SETTLING_SECONDS from now on: somebody waits for fictl to end.
    void hurry();

    /// Has the appliance delete a time image and nothing else; true when it is not there any more, else why() tells.
    bool release(const GroupKey& group, const std::string& image);

  private:
    std::optional<SInspection> document(std::vector<std::string> command, bool stopOnSignal);
    std::vector<std::string> words(std::initializer_list<std::string> first) const;

    std::string m_provider;
    std::string m_path;
    std::chrono::seconds m_limit;
    std::string m_why;
};

}  // namespace fictl
