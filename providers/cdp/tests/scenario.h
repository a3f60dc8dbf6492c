#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "base/tests/test_root.h"

namespace cdpfi {

/// A host's root directory with configuration and tools, and the appliances that the tools answer for. The fake tools
/// are a real program (fake_appliance.cpp) that works on the plain files that this class writes.
class CScenario
{
  public:
    CScenario();

    const std::filesystem::path& root() const { return m_root.path(); }
    /// A file below the root, with its folders.
    void write(const std::string& path, const std::string& content) const;
    void append(const std::string& path, const std::string& content) const;
    /// A file of the tools.
    void writeState(const std::string& name, const std::string& content) const;
    std::string readState(const std::string& name) const;
    bool hasState(const std::string& name) const;

    using CGroups = std::map<std::string, std::vector<std::string>>;
    /// An appliance with its groups' LUN serials; named in the configuration.
    void addAppliance(const std::string& name, const CGroups& groups,
                      const std::vector<std::string>& hosts = {"192.0.2.1", LOCAL_HOST});
    /// A disk of this host that shows a LUN.
    void addDisk(const std::string& path, const std::string& serial) const;
    /// A time image of LUNs that nobody of this process made; a disk of this host once the disks are rescanned.
    void addTimeImage(const std::string& server, const std::string& group, const std::string& image,
                      const std::vector<std::string>& serials) const;
    /// From here on, commands that match the shell pattern are refused.
    void refuse(const std::string& pattern) const;
    void refuseNothing() const;

    /// The commands that the tools were sent since the last call, one a line.
    std::vector<std::string> takeCommands() const;

    /// What this host goes by; an address, so that no name service is asked.
    static constexpr const char* LOCAL_HOST = "192.0.2.77";

  private:
    base_test::CTestRoot m_root;
    std::string m_configuration;
};

}  // namespace cdpfi
