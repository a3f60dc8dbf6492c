#pragma once

#include <cstdint>
#include <string>
#include <thread>

#include "appliance/ceph/fence.h"
#include "base/sqlite.h"

namespace lumora {

/// As long as it lives, clients of this machine that die are fenced, about ten times a second. It asks the cluster for
/// nothing until one has died.
class CFenceWatch
{
  public:
    CFenceWatch(SCephSetup setup, SCatalogPlace catalog);

  private:
    std::jthread m_thread;
};

/**
 * A SQLite database in a pool of a cluster; what is committed is safe there. One transaction at a time has it, whether
 * it reads or writes, whatever machine it runs on; others wait. When the process that has it dies, the next one on the
 * same machine waits less than a second, on another machine half a minute. For one thread.
 *
 * Failures, also of its queries and transactions, are EApplianceError: storage for a cluster that does not do what it
 * is told, unusable for a database that is missing, damaged or none.
 */
class CCephCatalog
{
  public:
    enum class EMode : uint8_t
    {
        EXISTING,
        CREATE
    };

    /// All of a process's databases are of the cluster, and used as the user, of the first one; others are refused with
    /// status unusable.
    CCephCatalog(CCephCluster& cluster, const SCatalogPlace& place, EMode mode);

    base::CSqliteDatabase& database() noexcept { return m_database; }

  private:
    CFenceWatch m_watch;  // from before the first lock to behind the last one
    base::CSqliteDatabase m_database;
};

}  // namespace lumora
