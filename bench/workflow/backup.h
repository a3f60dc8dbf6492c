#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/workflow/host_program.h"

namespace bench {

/// The name under which the copy of a LUN is imported and deleted by the process that made it.
std::string targetName(const std::string& serial);

/// The steps of a backup of some disks, from one host program that both takes the copies and imports them.
class CBackup
{
  public:
    CBackup(const CHostProgram& host, const std::vector<SDisk>& disks) : m_host(host), m_disks(disks) {}

    /// interpose and claim every disk; init_node of its group, once, and of its node.
    void setUp();
    /// select and prepare the session.
    void prepare(const std::string& session);
    /// Gives the number of copies that were listed.
    int32_t make(const std::string& session);
    /// Makes the images and waits for their disks: init_altnode with and without an image's name, for every node.
    void import();
    void dispose();
    void takeDown();

  private:
    void setUpGroup(const std::string& group);
    void importNode(CNode& node, const SDisk& disk);

    const CHostProgram& m_host;
    const std::vector<SDisk>& m_disks;
    std::vector<std::unique_ptr<CNode>> m_groups;
    std::vector<std::unique_ptr<CNode>> m_nodes;
    std::vector<obz_splitnode*> m_splits;
    std::string m_lastGroup;
};

}  // namespace bench
