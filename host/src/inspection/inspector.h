#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <stop_token>
#include <string>

#include "host/src/inspection/inspection.h"

namespace fictl {

/// What is looked at, and when a look is given up.
struct SLook
{
    std::set<GroupKey> groups = {};  ///< these; everything when there is none
    bool isInventory = false;        ///< LUNs and checkpoints, and no time image
    bool stopsOnSignal = true;       ///< it is given up when fictl is asked to stop
    std::stop_token unwanted = {};   ///< it is given up when nobody waits for it any more
};

/**
 * The program that a provider may ship beside its library to look at its appliances without changing them:
 * <provider>-inspect, in the library's own folder for a provider that is given by path, else in ../libexec/obzx seen
 * from the folder of fictl. Each call waits for its end; used by one thread, but for release. None throws but
 * std::bad_alloc.
 */
class CInspector
{
  public:
    /// @param limit of a single appliance command; 0: the provider's own
    CInspector(const std::string& provider, std::chrono::seconds limit);

    bool isThere() const { return !m_path.empty(); }
    const std::string& path() const { return m_path; }

    /// Nothing when no document could be had; why() tells.
    std::optional<SInspection> look(const SLook& look);
    const std::string& why() const { return m_why; }

    /// Gives each command no more than SETTLING_SECONDS from now on: somebody waits for fictl to end.
    void hurry();

    /// Has the appliance delete a time image and nothing else; nothing when it is not there any more, else why it is or
    /// may be. Any thread.
    std::optional<std::string> release(const GroupKey& group, const std::string& image) const;

  private:
    std::vector<std::string> words(std::initializer_list<std::string> first) const;

    std::string m_provider;
    std::string m_path;
    std::chrono::seconds m_limit;
    std::string m_why;
};

}  // namespace fictl
