#include "appliance/ceph/ceph_catalog.h"

#include <dlfcn.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <stop_token>
#include <system_error>
#include <utility>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

constexpr std::chrono::milliseconds WATCH_INTERVAL{100};
// For what does not wait within the library.
constexpr std::chrono::minutes PATIENCE{1};
constexpr const char* LIBRARY = "libcephsqlite.so";
constexpr const char* PACKAGE = "libsqlite3-mod-ceph";

[[noreturn]] void refuseLibrary(const std::string& reason)
{
    throw EApplianceError(EStatus::UNUSABLE,
                          "cannot use " + std::string(LIBRARY) + " (package " + PACKAGE + "): " + reason);
}

void loadLibrary()
{
    base::CSqliteDatabase loader(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, PATIENCE);
    sqlite3_enable_load_extension(loader.handle(), 1);
    char* text = nullptr;
    if (sqlite3_load_extension(loader.handle(), LIBRARY, nullptr, &text) == SQLITE_OK) return;
    const std::string reason = text == nullptr ? "unknown" : text;
    sqlite3_free(text);
    refuseLibrary(reason);
}

// The library's own client of the cluster, of which it has one in a process and which ends with the process.
class CLibraryClient
{
  public:
    explicit CLibraryClient(CCephCluster& cluster) : m_setup(cluster.setup())
    {
        loadLibrary();
        void* const library = ::dlopen(LIBRARY, RTLD_NOW | RTLD_NOLOAD);
        using CConnect = int (*)(rados_config_t, char**);
        const auto connect =
            library == nullptr ? nullptr : reinterpret_cast<CConnect>(::dlsym(library, "cephsqlite_setcct"));
        if (connect == nullptr) refuseLibrary("it has no cephsqlite_setcct");
        char* address = nullptr;
        const int code = connect(cluster.settings(), &address);
        const std::unique_ptr<char, decltype(&std::free)> owner(address, &std::free);
        if (code < 0) refuseLibrary(std::error_code(-code, std::generic_category()).message());
        m_address = address;
        cluster.records().add(m_address, ::getpid());
    }
    ~CLibraryClient() { CClientRecords(m_setup.clients).remove(m_address); }
    CLibraryClient(const CLibraryClient&) = delete;
    CLibraryClient& operator=(const CLibraryClient&) = delete;

    bool isOf(const SCephSetup& setup) const
    {
        return setup.configuration == m_setup.configuration && setup.user == m_setup.user;
    }

  private:
    const SCephSetup m_setup;
    std::string m_address;
};

std::unique_ptr<CLibraryClient> g_libraryClient;

void watch(const std::stop_token& stop, const SCephSetup& setup, const SCatalogPlace& catalog)
{
    std::unique_ptr<CCephCluster> cluster;
    std::mutex mutex;
    std::condition_variable_any ended;
    std::unique_lock lock(mutex);
    while (!stop.stop_requested()) {
        try {
            if (!CClientRecords(setup.clients).gone().empty()) {
                if (cluster == nullptr) cluster = std::make_unique<CCephCluster>(setup);
                fenceGone(*cluster, catalog);
            }
        } catch (const std::exception&) {
            // Tried again; the library itself takes the lock of a silent client away after half a minute.
        }
        ended.wait_for(lock, stop, WATCH_INTERVAL, [] { return false; });
    }
}

}  // namespace

CFenceWatch::CFenceWatch(SCephSetup setup, SCatalogPlace catalog)
    : m_thread([setup = std::move(setup), catalog = std::move(catalog)](const std::stop_token& stop) {
          watch(stop, setup, catalog);
      })
{
}

std::string catalogName(CCephCluster& cluster, const SCatalogPlace& place)
{
    if (g_libraryClient == nullptr) g_libraryClient = std::make_unique<CLibraryClient>(cluster);
    if (!g_libraryClient->isOf(cluster.setup())) refuseLibrary("this process uses a database of another cluster");
    return "file:///" + place.pool + ":/" + place.name + "?vfs=ceph";
}

void endLibraryClient() noexcept
{
    g_libraryClient.reset();
}

CCephCatalog::CCephCatalog(CCephCluster& cluster, const SCatalogPlace& place, CDatabase::EMode mode)
    : m_watch(cluster.setup(), place), m_database(catalogName(cluster, place), mode)
{
}

}  // namespace lumora
