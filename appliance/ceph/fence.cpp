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

// Where one of the dead clients has it.
void breakLock(const CCephPool& pool, const std::string& database, const std::vector<std::string>& gone)
{
    const std::optional<SLockHolder> holder = holderOfObject(pool, database + FIRST_OBJECT, LOCK);
    if (!holder || std::find(gone.begin(), gone.end(), holder->address) == gone.end()) return;
    const int code = ::rados_break_lock(pool.handle(), (database + FIRST_OBJECT).c_str(), LOCK, holder->client.c_str(),
                                        holder->cookie.c_str());
    if (code == -ENOENT) return;  // broken by another one, or over meanwhile
    checkCeph(code, "break the lock of", "database " + inQuotes(database) + " of pool " + inQuotes(pool.name()));
}

}  // namespace

std::vector<std::string> fenceGone(CCephCluster& cluster, const std::optional<SCatalogPlace>& catalog)
{
    const CClientRecords records = cluster.records();
    std::vector<std::string> gone = records.gone();
    if (gone.empty()) return gone;
    for (const std::string& address : gone) {
        cluster.blocklist(address);
    }
    if (catalog) breakLock(CCephPool(cluster, catalog->pool), catalog->name, gone);
    for (const std::string& address : gone) {
        records.remove(address);
    }
    return gone;
}

}  // namespace lumora
