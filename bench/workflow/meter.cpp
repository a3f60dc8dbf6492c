#include "bench/workflow/meter.h"

#include <dlfcn.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace bench {

namespace {

int64_t nanoseconds(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

}  // namespace

CMeter* CMeter::s_running = nullptr;

STime& STime::operator+=(const STime& other)
{
    wall += other.wall;
    cpu += other.cpu;
    return *this;
}

STime STime::operator-(const STime& other) const
{
    return {wall - other.wall, cpu - other.cpu};
}

STime STime::now()
{
    return {nanoseconds(CLOCK_MONOTONIC), nanoseconds(CLOCK_THREAD_CPUTIME_ID)};
}

void CMeter::start()
{
    m_times.clear();
    m_current = &m_times[""];
    m_part = &STimes::own;
    s_running = this;
    m_since = STime::now();
}

void CMeter::stop()
{
    account();
    s_running = nullptr;
}

STime CMeter::ownTime() const
{
    STime sum;
    for (const auto& [tool, times] : m_times) {
        sum += times.own;
        sum += times.request;
        sum += times.read;
    }
    return sum;
}

void CMeter::enter(STime STimes::*part)
{
    account();
    m_part = part;
}

void CMeter::toolStarts(const char* program, const STime& since)
{
    account(since);
    const char* const slash = std::strrchr(program, '/');
    m_current = &m_times[slash == nullptr ? program : slash + 1];
    ++m_current->runs;
    m_part = &STimes::tool;
}

void CMeter::toolEnded()
{
    enter(&STimes::own);
}

void CMeter::account(const STime& now)
{
    m_current->*m_part += now - m_since;
    m_since = now;
}

namespace {

template <class Function>
Function* next(const char* name)
{
    void* const address = dlsym(RTLD_NEXT, name);
    if (address == nullptr) std::abort();
    return reinterpret_cast<Function*>(address);
}

template <class Call>
auto countedAs(STime CMeter::STimes::*part, const Call& call)
{
    CMeter* const meter = CMeter::running();
    if (meter == nullptr) return call();
    STime CMeter::STimes::*const before = meter->part();
    meter->enter(part);
    const auto result = call();
    meter->enter(before);
    return result;
}

}  // namespace

}  // namespace bench

// What stands before the C library.

#define BENCH_EXPORT extern "C" __attribute__((visibility("default")))

using bench::CMeter;

// Set by the child, which has the memory of the program until its own begins.
static std::atomic<const char*> g_program = nullptr;

BENCH_EXPORT int execve(const char* path, char* const argv[], char* const envp[]) noexcept
{
    static auto* const original = bench::next<int(const char*, char* const[], char* const[])>("execve");
    g_program = path;
    return original(path, argv, envp);
}

BENCH_EXPORT int clone(int (*body)(void*), void* stack, int flags, void* argument, ...) noexcept
{
    static auto* const original = bench::next<int(int (*)(void*), void*, int, void*, ...)>("clone");
    const bench::STime since = bench::STime::now();
    va_list more;
    va_start(more, argument);
    auto* const parentId = va_arg(more, pid_t*);
    auto* const storage = va_arg(more, void*);
    auto* const childId = va_arg(more, pid_t*);
    va_end(more);
    g_program = nullptr;
    const int result = original(body, stack, flags, argument, parentId, storage, childId);
    CMeter* const meter = CMeter::running();
    if (meter == nullptr || result < 0) return result;
    while (g_program == nullptr) {
        sched_yield();  // the caller waits for the same, and it counts as the tool's time
    }
    meter->toolStarts(g_program, since);
    return result;
}

BENCH_EXPORT int waitid(idtype_t type, id_t id, siginfo_t* info, int options)
{
    static auto* const original = bench::next<decltype(waitid)>("waitid");
    const int result = original(type, id, info, options);
    CMeter* const meter = CMeter::running();
    if (meter != nullptr && result == 0 && info->si_pid != 0) meter->toolEnded();
    return result;
}

BENCH_EXPORT int mkostemp(char* path, int flags)
{
    static auto* const original = bench::next<decltype(mkostemp)>("mkostemp");
    // The script is the next command's: everything up to its start.
    if (CMeter* const meter = CMeter::running()) meter->enter(&CMeter::STimes::request);
    return original(path, flags);
}

BENCH_EXPORT int remove(const char* path) noexcept
{
    static auto* const original = bench::next<int(const char*)>("remove");
    return bench::countedAs(&CMeter::STimes::request, [&] { return original(path); });
}

BENCH_EXPORT ssize_t __read_chk(int file, void* buffer, size_t size, size_t room)  // NOLINT: the C library's name
{
    static auto* const original = bench::next<ssize_t(int, void*, size_t, size_t)>("__read_chk");
    const auto call = [&] { return original(file, buffer, size, room); };
    CMeter* const meter = CMeter::running();
    if (meter == nullptr || meter->part() != &CMeter::STimes::tool) return call();
    return bench::countedAs(&CMeter::STimes::read, call);
}

BENCH_EXPORT ssize_t read(int file, void* buffer, size_t size)
{
    static auto* const original = bench::next<ssize_t(int, void*, size_t)>("read");
    const auto call = [&] { return original(file, buffer, size); };
    CMeter* const meter = CMeter::running();
    if (meter == nullptr || meter->part() != &CMeter::STimes::tool) return call();
    return bench::countedAs(&CMeter::STimes::read, call);
}
