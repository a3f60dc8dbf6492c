#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "base/tests/test_root.h"

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

    /// What the tools were sent since the last call, one text a request; the id of the process that had them run is
    /// replaced by "PID".
    std::vector<std::string> takeSent(pid_t process) const;
    /// Name of a file that stands in the folder for temporary files; empty when there is none.
    std::string leftFiles() const;

  private:
    const base_test::CTestRoot m_root;
    const base_test::CEnvironmentValue m_temporaryFiles{"TMPDIR", m_root / "tmp"};
    const base_test::CEnvironmentValue m_scenario{"FAKE_TOOL_SCENARIO", m_root / "scenario"};
};
