#pragma once

#include <string>
#include <thread>

#include "appliance/ceph/fence.h"
#include "appliance/core/store/database.h"

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

/// The name of a database in a pool for SQLite, which can open it from then on. All of a process's databases are of the
/// cluster, and used as the user, of the first one; others are refused with status unusable. What is committed is safe
/// in the cluster. One transaction at a time has it; when the process that has it dies, the next one on the same
/// machine waits less than a second where a CFenceWatch lives, and half a minute elsewhere.
std::string catalogName(CCephCluster& cluster, const SCatalogPlace& place);

/// Takes the record back of the client that SQLite has in this process. Nobody may use a database any more, and the
/// process has to end: the client itself lives as long as it.
void endLibraryClient() noexcept;

/// A database in a pool, and the watch for it. For one thread.
class CCephCatalog
{
  public:
    CCephCatalog(CCephCluster& cluster, const SCatalogPlace& place, CDatabase::EMode mode);

    CDatabase& database() noexcept { return m_database; }

  private:
    CFenceWatch m_watch;  // from before the first lock to behind the last one
    CDatabase m_database;
};

}  // namespace lumora
