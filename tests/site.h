#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"

/// What a program that was run left: its exit status and its two outputs.
struct SRun
{
    int status = -1;
    std::string out;
    std::string err;
    nlohmann::json json() const { return nlohmann::json::parse(out, nullptr, false); }
};

/**
 * A scratch site: one store of the embedded appliance and hosts with a root of their own, below a folder that goes with
 * the object. Hosts are told apart by their name, which is also the name of their root.
 */
class CSite
{
  public:
    CSite();

    /// A group with LUNs of 256 KiB, presented to the host "production"; the appliance is made on first use, and with
    /// it the hosts "production" and "backup".
    void addGroup(const std::string& appliance, const std::string& group, const std::vector<std::string>& luns);
    /// Writes the configuration of both hosts; after the last addGroup.
    void setUpHosts();

    /// Puts a script in the place of the appliance's shell on a host; after setUpHosts.
    void replaceShell(const std::string& host, const std::string& script) const;

    SRun lmadm(const std::vector<std::string>& words) const;
    SRun fictl(const std::string& host, const std::vector<std::string>& words) const;
    /// Runs a shell command line on a host, with the tools in its PATH.
    SRun shell(const std::string& host, const std::string& commandLine) const;
    SRun lmsh(const std::string& host, const std::string& appliance, const std::string& command) const;

    std::string device(const std::string& appliance, const std::string& lun) const;
    std::string serial(const std::string& appliance, const std::string& lun) const;
    void write(const std::string& appliance, const std::string& lun, const std::string& pattern) const;
    /// Names of the annotations and time images that a group has.
    std::vector<std::string> copiesOf(const std::string& appliance, const std::string& group) const;

    std::filesystem::path root(const std::string& host) const { return m_folder / host; }
    std::filesystem::path folder() const { return m_folder.path(); }

  private:
    nlohmann::json lun(const std::string& appliance, const std::string& name) const;

    base_test::CTemporaryFolder m_folder;
    std::vector<std::string> m_appliances;
};

using base_test::contentOf;
using base_test::writeFile;
