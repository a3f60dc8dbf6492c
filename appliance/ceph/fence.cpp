#include "appliance/ceph/fence.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "appliance/ceph/ceph_error.h"
#include "appliance/ceph/lock_holder.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

// A file of the database's library is a row of objects, of which the first one has the lock of the whole.
constexpr const char* FIRST_OBJECT = ".0000000000000000";
constexpr const char* LOCK = "striper.lock";

void breakLock(const CCephPool& pool, const std::string& database, const SLockHolder& holder)
{
    const int code = ::rados_break_lock(pool.handle(), (database + FIRST_OBJECT).c_str(), LOCK, holder.client.c_str(),
                                        holder.cookie.c_str());
    if (code == -ENOENT) return;  // broken by another one, or over meanwhile
    checkCeph(code, "break the lock of", "database " + inQuotes(database) + " of pool " + inQuotes(pool.name()));
}

}  // namespace

std::vector<std::string> fenceGone(CCephCluster& cluster, const SCatalogPlace& catalog)
{
    const CClientRecords records = cluster.records();
    std::vector<std::string> gone = records.gone();
    if (gone.empty()) return gone;
    for (const std::string& address : gone) {
        cluster.blocklist(address);
    }
    const CCephPool pool(cluster, catalog.pool);
    const std::optional<SLockHolder> holder = holderOfObject(pool, catalog.name + FIRST_OBJECT, LOCK);
    if (holder && std::find(gone.begin(), gone.end(), holder->address) != gone.end()) {
        breakLock(pool, catalog.name, *holder);
    }
    for (const std::string& address : gone) {
        records.remove(address);
    }
    return gone;
}

}  // namespace lumora
