// A whole workflow in a host process whose surroundings are not what a provider would wish for.
//
//   surroundings_host TOOL PROVIDER SURROUNDINGS    such as "small-stack"; all of them are in surroundings() below
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/failing_calls/dead_resolver.h"
#include "tests/failing_calls/scratch_host.h"
#include "tests/failing_calls/workflow.h"

namespace {

constexpr rlim_t WANTED_DESCRIPTORS = 60000;
constexpr size_t SMALL_STACK = size_t{128} * 1024;
constexpr time_t AN_HOUR = 3600;

std::atomic<bool> g_setBack{false};
std::atomic<time_t> g_hours{0};
std::atomic<time_t> g_elapsed{0};  // seconds that the clock of the machine's run is ahead

// How much the wall clock is behind: an hour more at each look.
time_t delay()
{
    return g_setBack ? ++g_hours * AN_HOUR : 0;
}

template <class Function>
Function* nextOne(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int fail(const std::string& what)
{
    std::fprintf(stderr, "%s\n", what.c_str());
    return 1;
}

// Every step gives a documented status and right outputs, and the outcome is the one that is to be expected.
int runWorkflow(const CProviderLibrary& library, bool succeeds)
{
    CWorkflow workflow(library);
    workflow.run();
    int failed = 0;
    for (const std::string& complaint : workflow.complaints()) {
        failed = fail(complaint);
    }
    if (workflow.succeeded() != succeeds) failed = fail(succeeds ? "does not succeed" : "succeeds");
    return failed;
}

/// Opens descriptors until there are so many, or no more can be had; closes them at its end.
class COpenDescriptors
{
  public:
    explicit COpenDescriptors(size_t most)
    {
        m_descriptors.reserve(most);
        while (m_descriptors.size() < most) {
            const int descriptor = open("/dev/null", O_RDONLY);  // not closed in children: the provider has to
            if (descriptor < 0) break;
            m_descriptors.push_back(descriptor);
        }
    }
    ~COpenDescriptors()
    {
        for (const int descriptor : m_descriptors) {
            close(descriptor);
        }
    }
    COpenDescriptors(const COpenDescriptors&) = delete;
    COpenDescriptors& operator=(const COpenDescriptors&) = delete;
    size_t count() const { return m_descriptors.size(); }

  private:
    std::vector<int> m_descriptors;
};

int manyDescriptors(const CProviderLibrary& library)
{
    constexpr rlim_t spare = 64;
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min(limit.rlim_max, WANTED_DESCRIPTORS + spare);
    setrlimit(RLIMIT_NOFILE, &limit);
    const COpenDescriptors open(std::min(limit.rlim_cur - spare, WANTED_DESCRIPTORS));
    std::printf("%zu open descriptors; the limit of this system is %lu\n", open.count(),
                static_cast<unsigned long>(limit.rlim_max));
    return open.count() < 1000 ? fail("too few descriptors to tell anything") : runWorkflow(library, true);
}

int noDescriptors(const CProviderLibrary& library)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 256;
    setrlimit(RLIMIT_NOFILE, &limit);
    int failed = 0;
    {
        const COpenDescriptors all(limit.rlim_cur);
        failed = runWorkflow(library, false);
    }
    return failed | runWorkflow(library, true);
}

// The exit status of a child cannot be had, so that no answer of the appliance can be trusted.
int ignoredChildren(const CProviderLibrary& library)
{
    std::signal(SIGCHLD, SIG_IGN);
    const int failed = runWorkflow(library, false);
    std::signal(SIGCHLD, SIG_DFL);
    return failed | runWorkflow(library, true);
}

int smallStack(const CProviderLibrary& library)
{
    std::function<int()> work = [&] { return runWorkflow(library, true); };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, SMALL_STACK);
    const auto start = [](void* argument) -> void* {
        const int failed = (*static_cast<std::function<int()>*>(argument))();
        return failed == 0 ? argument : nullptr;
    };
    pthread_t thread = {};
    if (pthread_create(&thread, &attributes, start, &work) != 0) return fail("cannot start a thread");
    void* result = nullptr;
    pthread_join(thread, &result);
    return result == &work ? 0 : 1;
}

int clockSetBack(const CProviderLibrary& library)
{
    g_setBack = true;
    const int failed = runWorkflow(library, true);
    std::printf("the clock was set back %ld times\n", static_cast<long>(g_hours));
    return g_hours == 0 ? fail("nobody looked at the clock") : failed;
}

// Two workflows: the first one asks about each name, the second one knows already that there is no answer.
int askInVain(const CProviderLibrary& library, bool succeeds)
{
    int failed = runWorkflow(library, succeeds);
    const int asked = dead_resolver::questions();
    failed |= runWorkflow(library, succeeds);
    if (dead_resolver::takeMostOfOneName() != 1) failed = fail("a name is not asked for once");
    if (dead_resolver::questions() != asked) failed = fail("a second workflow asks again");
    std::printf("%d questions to the resolver\n", asked);
    return failed;
}

int deadResolver(const CProviderLibrary& library, bool succeeds)
{
    constexpr time_t moreThanAMinute = 61;
    int failed = askInVain(library, succeeds);
    g_elapsed = moreThanAMinute;
    failed |= askInVain(library, succeeds);
    return failed;
}

std::string systemName()
{
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

struct SSurroundings
{
    std::function<int(const CProviderLibrary&)> run;
    SHostNames names = {};
};

const std::map<std::string, SSurroundings>& surroundings()
{
    const auto known = [](const CProviderLibrary& library) { return deadResolver(library, true); };
    const auto unknown = [](const CProviderLibrary& library) { return deadResolver(library, false); };
    static const std::map<std::string, SSurroundings> all = {
        {"descriptors", {manyDescriptors}},
        {"no-descriptors", {noDescriptors}},
        {"ignored-children", {ignoredChildren}},
        {"small-stack", {smallStack}},
        {"clock-set-back", {clockSetBack}},
        {"dead-resolver", {known, {"192.0.2.7", "192.0.2.7"}}},
        {"dead-resolver-system-name", {known, {"", systemName()}}},
        {"dead-resolver-other-name", {unknown, {"", systemName() + ".example.com"}}},
    };
    return all;
}

int run(char** argv)
{
    const auto found = surroundings().find(argv[3]);
    if (found == surroundings().end()) return fail(std::string("unknown surroundings: ") + argv[3]);
    const CScratchHost host(argv[1], found->second.names);
    const CProviderLibrary library(argv[2], "cdpfi");
    return found->second.run(library);
}

}  // namespace

// The program's own definitions come before those of the C library, for every library in the process.
#pragma GCC visibility push(default)
extern "C" {

int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    static auto* const real = nextOne<int(clockid_t, timespec*)>("clock_gettime");
    const int result = real(clock, now);
    if (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE) now->tv_sec -= delay();
    if (clock == CLOCK_MONOTONIC) now->tv_sec += g_elapsed;
    return result;
}

time_t time(time_t* now) noexcept
{
    static auto* const real = nextOne<time_t(time_t*)>("time");
    const time_t result = real(nullptr) - delay();
    if (now != nullptr) *now = result;
    return result;
}

int gettimeofday(timeval* now, void* zone) noexcept
{
    static auto* const real = nextOne<int(timeval*, void*)>("gettimeofday");
    const int result = real(now, zone);
    now->tv_sec -= delay();
    return result;
}

}  // extern "C"
#pragma GCC visibility pop

int main(int argc, char** argv)
{
    try {
        return argc == 4 ? run(argv) : fail("arguments are missing");
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
