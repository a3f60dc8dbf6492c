#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "appliance/ceph/ceph_cluster.h"
#include "appliance/ceph/ceph_groups.h"
#include "appliance/ceph/ceph_images.h"
#include "appliance/ceph/ceph_imports.h"
#include "appliance/ceph/fence.h"
#include "appliance/ceph/tests/attached_image.h"
#include "appliance/core/conventions/error.h"
#include "base/child_process.h"
#include "base/tests/temporary_folder.h"

namespace lumora::test {

/// The program ceph_client as a client of the cluster in a process of its own, one line to and from it at a time. It is
/// killed with the object.
class CClientProcess
{
  public:
    CClientProcess(const SCephSetup& setup, const std::vector<std::string>& words);
    ~CClientProcess();
    CClientProcess(const CClientProcess&) = delete;
    CClientProcess& operator=(const CClientProcess&) = delete;

    pid_t pid() const { return m_process.pid(); }
    void say(const std::string& line) const;
    /// The next line; fails the test when none comes in a minute.
    std::string answer();
    /// SIGKILL; returns when the process is gone.
    void kill();
    /// Its exit status.
    int wait();

  private:
    pid_t start(const SCephSetup& setup, const std::vector<std::string>& words);

    base::CFileDescriptor m_socket;
    std::string m_received;
    base::CChildProcess m_process;
};

/// A test on the cluster of this run, which others may use at the same time: objects have names of the test, and its
/// clients a folder of records of their own.
class CClusterTest : public testing::Test
{
  protected:
    CClusterTest();

    /// A name of this test's own.
    std::string own(const std::string& name) const { return m_prefix + "-" + name; }
    /// The first bytes of an image, which nobody needs to have attached.
    std::string bytesOf(const std::string& image, size_t size) const;
    /// A group of the images own("a") and own("b"), 8 MiB each.
    std::string makeGroup();

    const base_test::CTemporaryFolder m_folder;
    const std::string m_prefix;
    const SCephSetup m_setup;
    CCephCluster m_cluster;
    const CCephPool m_pool;
    const CCephImages m_images;
    const CCephGroups m_groups;
    const CCephImports m_imports;
    const SCatalogPlace m_catalog;
};

/// A command of script/cluster for the cluster of this run.
void runCluster(const std::string& command);

/// Expects a refusal with this status and text.
void expectRefusal(EStatus status, const std::string& text, const std::function<void()>& step);

/// How long a step takes.
std::chrono::milliseconds timeOf(const std::function<void()>& step);

}  // namespace lumora::test
