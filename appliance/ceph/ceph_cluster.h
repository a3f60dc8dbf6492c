#pragma once

#include <rados/librados.h>

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

#include "appliance/ceph/client_records.h"

namespace lumora {

/// Where a cluster is, and as whom it is used.
struct SCephSetup
{
    std::filesystem::path configuration;  ///< of the cluster: addresses of the monitors, where the user's key is
    std::string user;                     ///< without "client."
    std::filesystem::path clients;        ///< folder of the CClientRecords of this machine
    unsigned patience = 0;                ///< seconds until an operation that is not answered fails; 0: never
};

/**
 * One client of a cluster. It connects when it is first needed, which takes about 10 ms, gives up after 15 seconds
 * without an answer, and tells the records of this machine which process it is. For several threads.
 *
 * Failures are EApplianceError: unusable where the cluster cannot be reached or refuses the user, storage where it does
 * not do what it is told.
 */
class CCephCluster
{
  public:
    /// Reads the configuration; status unusable for one that cannot be read.
    explicit CCephCluster(SCephSetup setup);
    ~CCephCluster();
    CCephCluster(const CCephCluster&) = delete;
    CCephCluster& operator=(const CCephCluster&) = delete;

    const SCephSetup& setup() const noexcept { return m_setup; }
    CClientRecords records() const { return CClientRecords(m_setup.clients); }
    /// Connected. It is this object's.
    rados_t handle();
    /// The settings, for a library that makes a connection of its own with them.
    rados_config_t settings() noexcept { return ::rados_cct(m_handle); }

    /// Shuts a client out for an hour: of what it has sent and what it sends, nothing is done behind anything that this
    /// object's client, or one that connects later, asks for. For clients that are known to be dead.
    void blocklist(const std::string& address);

  private:
    void connect();

    const SCephSetup m_setup;
    std::mutex m_mutex;
    rados_t m_handle = nullptr;
    std::string m_address;  // empty as long as there is no connection
};

/// A pool of a cluster, or a namespace in it; the cluster must outlive it. For several threads.
class CCephPool
{
  public:
    /// Status missing when there is no pool of the name. All that is done with it is done in the namespace, which is
    /// the pool's own where the name is empty.
    CCephPool(CCephCluster& cluster, std::string name, std::string space = "");
    ~CCephPool();
    CCephPool(const CCephPool&) = delete;
    CCephPool& operator=(const CCephPool&) = delete;

    const std::string& name() const noexcept { return m_name; }
    const std::string& space() const noexcept { return m_space; }
    rados_ioctx_t handle() const noexcept { return m_handle; }

  private:
    const std::string m_name;
    const std::string m_space;
    rados_ioctx_t m_handle = nullptr;
};

}  // namespace lumora
