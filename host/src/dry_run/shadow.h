#pragma once

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/src/guardian/program.h"
#include "host/src/inspection/inspection.h"
#include "host/src/output/private_folder.h"

namespace fictl {

/// What a shadow does not have, and why.
struct SNotShown
{
    std::string appliance;
    std::string group;  ///< empty: the whole appliance
    std::string reason;
};

/**
 * A host of its own in a private folder, which is removed with it: its appliances are embedded ones that hold what an
 * inspection tells, its catalog is a copy of this host's, its disks have the paths that they have here. The programs
 * lie beside fictl, or in the folder that TOOLS in section DRY_RUN of /etc/qz/fictl.conf names. Throws EFictl (FAILED)
 * when they are not there, or refuse.
 */
class CShadow
{
  public:
    CShadow(const SInspection& seen, const std::string& provider);

    const std::vector<SNotShown>& notShown() const { return m_notShown; }
    std::filesystem::path folder() const { return m_folder.path(); }
    std::filesystem::path tools() const { return folder() / "tools"; }
    std::filesystem::path conversation() const { return folder() / "conversation.jsonl"; }

    /// fictl on that host, recorded.
    SProgramEnd fictl(const std::vector<std::string>& words) const;

  private:
    void fill(const SInspection& seen);
    void makeTools(const nlohmann::json& paths) const;
    void configure(const SInspection& seen, const std::string& provider, const std::string& host) const;
    void copyCatalog() const;
    nlohmann::json lmadm(std::vector<std::string> words) const;

    std::filesystem::path m_programs;
    CPrivateFolder m_folder;
    std::vector<SNotShown> m_notShown;
    nlohmann::json m_filled;
};

}  // namespace fictl
