#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

/// What this host is called.
struct SHostNames
{
    std::string configured = "192.0.2.7";  ///< by its configuration; empty: the configuration names none
    std::string listed = "192.0.2.7";      ///< by the appliance
};

/**
 * A host's root directory with one appliance of steady answers: group cg1 with LUN S1, which shows as /dev/sdb. One
 * small program stands for the appliance's shell and for the disk utility. The folder goes with the object.
 */
class CScratchHost
{
  public:
    explicit CScratchHost(const std::string& tool, const SHostNames& names = {});
    ~CScratchHost();
    CScratchHost(const CScratchHost&) = delete;
    CScratchHost& operator=(const CScratchHost&) = delete;

    /// What the tools were sent since the last call, one text a request; the id of the process that had them run is
    /// replaced by "PID".
    std::vector<std::string> takeSent(pid_t process) const;
    /// Name of a file that stands in the folder for temporary files; empty when there is none.
    std::string leftFiles() const;

  private:
    std::filesystem::path m_root;
};
