// Defects in what a provider does to its process, to other threads, and to other providers there.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <mutex>
#include <string>

#include "base/file_descriptor.h"
#include "framework/include/obzx_runtime.h"
#include "host/tests/kitfi/defect_actions.h"

namespace kitfi {

namespace {

// NOLINTBEGIN(concurrency-mt-unsafe): that they are not safe is what is wrong with these defects

void ignoreSignal(SCall&)
{
    std::signal(SIGPIPE, SIG_IGN);
}

void blockSignal(SCall&)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void changeFolder(SCall& call)
{
    if (chdir("/") != 0) crash(call);
}

void changeMask(SCall&)
{
    umask(0);
}

void changeEnvironment(SCall&)
{
    setenv("KITFI_LEFT", "1", 1);
}

void changeLocale(SCall&)
{
    setlocale(LC_ALL, "C.UTF-8");
}

void changeLimit(SCall&)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur /= 2;
    setrlimit(RLIMIT_NOFILE, &limit);
}

template <int Descriptor>
void print(SCall& call)
{
    if (write(Descriptor, "here\n", 5) != 5) crash(call);
}

void lookAtCancellation(SCall&)
{
    pthread_testcancel();
}

bool inAForkedChild(const SCall&)
{
    static const pid_t first = getpid();
    return getpid() != first;
}

void writeFile(SCall&)
{
    const base::CFileDescriptor file(open("kitfi", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    if (write(file.get(), "here", 4) != 4) std::abort();
}

std::mutex g_left;

void leaveLocked(SCall&)
{
    g_left.lock();
}

bool onAnotherThread(const SCall&)
{
    static const pid_t first = gettid();
    return gettid() != first;
}

// A counter that several threads find as it was.
void failWhenAtOnce(SCall& call)
{
    static int inside = 0;
    const int before = inside++;
    usleep(100);
    if (before != 0) call.answer(OBZ_ERR_FAILED);
    --inside;
}

bool is(const SCall& call, const char* function)
{
    return std::strcmp(call.function, function) == 0;
}

// The environment is one of the things that all of a process share.
bool hasTold(const std::string& text)
{
    const char* const told = getenv("KITFI_TOLD");
    return told != nullptr && told == text;
}

void endTheOther(SCall& call)
{
    if (is(call, "init")) unsetenv("KITFI_TOLD");
    if (is(call, "fini")) setenv("KITFI_TOLD", "ended", 1);
    if (is(call, "select") && hasTold("ended")) call.answer(OBZ_ERR_FAILED);
}

// Nodes that are selected in one copy are made by the other.
void shareNodes(SCall& call)
{
    static const std::string own = std::to_string(reinterpret_cast<uintptr_t>(&shareNodes));
    if (is(call, "preselect")) setenv("KITFI_TOLD", own.c_str(), 1);
    if (!is(call, "make") || getenv("KITFI_TOLD") == nullptr || hasTold(own)) return;
    auto** const identities = static_cast<obzx_objid**>(obzx_alloc_buf(sizeof(obzx_objid*)));
    identities[0] = obzx_get_objid("shared", 0, OBZ_OBJID_TYPE_DEVICE);
    *call.pointer<obzx_objid**>(4) = identities;
    *call.pointer<int32_t>(5) = 1;
    call.answer(OBZ_OK);
}

void holdLibrary(SCall&)
{
    Dl_info info = {};
    dladdr(reinterpret_cast<void*>(&holdLibrary), &info);
    dlopen(info.dli_fname, RTLD_NOW);
}

// NOLINTEND(concurrency-mt-unsafe)

constexpr SDefect DEFECTS[] = {
    {"ignores-a-signal", "signals", "init", always, ignoreSignal, nullptr},
    {"blocks-a-signal", "signals", "getattr", always, blockSignal, nullptr},
    {"changes-directory", "surroundings", "init", always, changeFolder, nullptr},
    {"changes-mode-mask", "surroundings", "start_build_alttree", always, changeMask, nullptr},
    {"changes-environment", "surroundings", "fini", always, changeEnvironment, nullptr},
    {"changes-locale", "surroundings", "errmsg", always, changeLocale, nullptr},
    {"changes-limit", "surroundings", "init", always, changeLimit, nullptr},
    {"prints", "quiet", "get_provider_info", always, print<STDOUT_FILENO>, nullptr},
    {"prints-an-error", "quiet", "import_resource", always, print<STDERR_FILENO>, nullptr},
    {"ends-when-cancelled", "cancelled", "is_parent_pgn", always, lookAtCancellation, nullptr},
    {"crashes-in-a-child", "forked", "init_node", inAForkedChild, crash, nullptr},
    {"fails-in-a-child", "forked", "prepare", inAForkedChild, answer<OBZ_ERR_FAILED>, nullptr},
    {"ended-by-a-file-limit", "file-limit", "res_status", always, writeFile, nullptr},
    {"lock-left", "locks", "get_backupset", always, leaveLocked, nullptr},
    {"hangs-on-another-thread", "locks", "disable_access", onAnotherThread, hang, nullptr},
    {"fails-beside-another-thread", "threads", "isready", always, failWhenAtOnce, nullptr},
    {"crashes-on-another-thread", "threads", "select", onAnotherThread, crash, nullptr},
    {"sessions-shared", "side-by-side", "", always, shareNodes, nullptr},
    {"ended-with-the-other", "side-by-side", "", always, endTheOther, nullptr},
    {"library-held", "loads", "init", always, holdLibrary, nullptr},
    {"leaks-by-load", "loads", "init", always, leak, nullptr},
};

}  // namespace

std::span<const SDefect> processDefects()
{
    return DEFECTS;
}

}  // namespace kitfi
