#include "host/src/provider_check/process_traits.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fictl {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool MAPS_ARE_THE_PROGRAMS = false;
#else
constexpr bool MAPS_ARE_THE_PROGRAMS = true;
#endif

size_t entriesOf(const char* directory)
{
    const std::filesystem::directory_iterator first(directory);
    return static_cast<size_t>(std::distance(begin(first), end(first)));
}

size_t linesOf(const char* file)
{
    std::ifstream stream(file);
    size_t lines = 0;
    for (std::string line; std::getline(stream, line);) {
        ++lines;
    }
    return lines;
}

size_t childrenOfProcess()
{
    size_t children = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream stream(thread.path() / "children");
        for (std::string child; stream >> child;) {
            ++children;
        }
    }
    return children;
}

std::string limitText(__rlimit_resource resource)
{
    rlimit limit = {};
    getrlimit(resource, &limit);
    return std::to_string(limit.rlim_cur) + " of " + std::to_string(limit.rlim_max);
}

std::string environmentText()
{
    std::string text;
    for (char** line = environ; line != nullptr && *line != nullptr; ++line) {
        text += *line + std::string("\n");
    }
    return text;
}

}  // namespace

SHoldings SHoldings::now()
{
    SHoldings holdings;
    holdings.descriptors = entriesOf("/proc/self/fd");
    holdings.threads = entriesOf("/proc/self/task");
    holdings.children = childrenOfProcess();
    holdings.mappings = MAPS_ARE_THE_PROGRAMS ? linesOf("/proc/self/maps") : 0;
    holdings.heap = mallinfo2().uordblks;
    return holdings;
}

std::vector<STrait> signalTraits()
{
    std::vector<STrait> traits;
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) != 0) continue;  // the library keeps some for itself
        const auto handler = reinterpret_cast<uintptr_t>(action.sa_handler);
        const char* const isBlocked = sigismember(&blocked, signal) == 1 ? " blocked" : "";
        traits.push_back({"signal " + std::to_string(signal), "handler " + std::to_string(handler) + isBlocked});
    }
    return traits;
}

std::vector<STrait> surroundingTraits()
{
    const mode_t mask = umask(0);
    umask(mask);
    return {{"working directory", std::filesystem::current_path()},
            {"file mode mask", std::to_string(mask)},
            {"locale", setlocale(LC_ALL, nullptr)},  // NOLINT(concurrency-mt-unsafe): no other thread runs
            {"environment", environmentText()},
            {"limit of descriptors", limitText(RLIMIT_NOFILE)},
            {"limit of file sizes", limitText(RLIMIT_FSIZE)},
            {"limit of core files", limitText(RLIMIT_CORE)}};
}

std::string changeOf(const std::vector<STrait>& before, const std::vector<STrait>& after)
{
    for (size_t i = 0; i < before.size() && i < after.size(); ++i) {
        if (before[i].value != after[i].value) {
            return before[i].name + ": was " + before[i].value + ", is " + after[i].value;
        }
    }
    return {};
}

}  // namespace fictl
