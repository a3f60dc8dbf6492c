#include "framework/src/process/exec_limit.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

#include "framework/include/cficonfiguration.h"
#include "framework/src/configuration/configuration_path.h"

namespace obzx_pdk_4_4 {

namespace {

using FileIdentity = std::tuple<dev_t, ino_t, time_t, long, off_t>;

struct SKnownLimit
{
    FileIdentity identity;
    unsigned long limit = 0;
};

constexpr size_t MAX_KNOWN = 64;

std::atomic<uint64_t> g_runLimit{0};

std::mutex g_mutex;
std::map<std::string, SKnownLimit> g_known;  // by path of the store

unsigned long readLimit(const ACE_String_Base<char>& component)
{
    CFiConfiguration store(component);
    ACE_Configuration_Section_Key key;
    long limit = 0;
    if (store.openSection("FI_EXEC", key, 1) == 0) store.getIntegerValue("MAX_TIMEOUT", limit);
    return static_cast<unsigned long>(limit);
}

unsigned long knownLimit(const ACE_String_Base<char>& component)
{
    const std::string path = configurationPath(component);
    struct stat status = {};
    if (path.empty() || ::stat(path.c_str(), &status) != 0) return 0;
    const FileIdentity identity(status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec,
                                status.st_size);
    const std::lock_guard<std::mutex> guard(g_mutex);
    if (const auto known = g_known.find(path); known != g_known.end() && known->second.identity == identity) {
        return known->second.limit;
    }
    if (g_known.size() >= MAX_KNOWN) g_known.clear();
    return (g_known[path] = {identity, readLimit(component)}).limit;
}

unsigned long capped(uint64_t limit, unsigned long wanted)
{
    return limit == 0 ? wanted : static_cast<unsigned long>(std::min<uint64_t>(limit, wanted));
}

}  // namespace

unsigned long capTimeout(const ACE_String_Base<char>& component, unsigned long wanted)
{
    return capped(knownLimit(component), wanted);
}

unsigned long capTimeout(unsigned long wanted)
{
    return capped(g_runLimit.load(std::memory_order_relaxed), wanted);
}

unsigned long limitOf(const CFiTraceLogPtr& traceLog, unsigned long wanted)
{
    return capTimeout(traceLog ? capTimeout(traceLog->getComponent(), wanted) : wanted);
}

void setRunLimit(uint64_t seconds)
{
    g_runLimit.store(seconds, std::memory_order_relaxed);
}

}  // namespace obzx_pdk_4_4
