#include "pdk/tests/faults.h"

#include <ace/OS_NS_Thread.h>
#include <dlfcn.h>

#include <cerrno>
#include <utility>

#include "framework/include/obzx_runtime.h"

namespace {

thread_local int t_lock = pdktest::CFaults::NEVER;
thread_local int t_identity = pdktest::CFaults::NEVER;
thread_local int t_buffer = pdktest::CFaults::NEVER;
thread_local bool t_lockFailed = false;
thread_local pdktest::CLockWatch* t_watch = nullptr;

bool isDue(int& countdown)
{
    if (countdown == pdktest::CFaults::NEVER) return false;
    return countdown-- == 0;  // at 0 it becomes NEVER
}

template <class Function>
Function* nextOne(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace pdktest {

CFaults::~CFaults()
{
    t_lock = t_identity = t_buffer = NEVER;
}
void CFaults::failLock(int after)
{
    t_lock = after;
    t_lockFailed = false;
}
void CFaults::failIdentity(int after)
{
    t_identity = after;
}
void CFaults::failBuffer(int after)
{
    t_buffer = after;
}
bool CFaults::lockHasFailed()
{
    return t_lockFailed;
}

CLockWatch::CLockWatch()
{
    t_watch = this;
}
CLockWatch::~CLockWatch()
{
    t_watch = nullptr;
}
void CLockWatch::locked(const pthread_mutex_t* mutex)
{
    m_locked.push_back(mutex);
    ++m_held[mutex];
}
void CLockWatch::unlocked(const pthread_mutex_t* mutex)
{
    if (--m_held[mutex] == 0) m_givenBack.insert(mutex);
}
std::vector<const pthread_mutex_t*> CLockWatch::lockedOf(const std::string& library) const
{
    std::vector<const pthread_mutex_t*> found;
    for (const pthread_mutex_t* const mutex : m_locked) {
        Dl_info info = {};
        if (dladdr(mutex, &info) == 0) continue;
        const std::string file = info.dli_fname;
        if (file.compare(file.rfind('/') + 1, library.size(), library) == 0) found.push_back(mutex);
    }
    return found;
}
std::set<const pthread_mutex_t*> CLockWatch::held() const
{
    std::set<const pthread_mutex_t*> found;
    for (const auto& [mutex, count] : m_held) {
        if (count > 0) found.insert(mutex);
    }
    return found;
}
std::set<const pthread_mutex_t*> CLockWatch::takeGivenBack()
{
    return std::exchange(m_givenBack, {});
}

}  // namespace pdktest

namespace ACE_OS {

int mutex_lock(ACE_mutex_t* mutex)
{
    static auto* const real = nextOne<int(ACE_mutex_t*)>("_ZN6ACE_OS10mutex_lockEP15pthread_mutex_t");
    if (isDue(t_lock)) {
        t_lockFailed = true;
        errno = EINVAL;
        return -1;
    }
    const int result = real(mutex);
    if (result == 0 && t_watch != nullptr) t_watch->locked(mutex);
    return result;
}

int mutex_unlock(ACE_mutex_t* mutex)
{
    static auto* const real = nextOne<int(ACE_mutex_t*)>("_ZN6ACE_OS12mutex_unlockEP15pthread_mutex_t");
    if (t_watch != nullptr) t_watch->unlocked(mutex);
    return real(mutex);
}

}  // namespace ACE_OS

obzx_objid* obzx_get_objid(const char* name, int32_t size, int32_t type)
{
    static auto* const real = nextOne<obzx_objid*(const char*, int32_t, int32_t)>("obzx_get_objid");
    return isDue(t_identity) ? nullptr : real(name, size, type);
}

void* obzx_alloc_buf(size_t size)
{
    static auto* const real = nextOne<void*(size_t)>("obzx_alloc_buf");
    return isDue(t_buffer) ? nullptr : real(size);
}
