#include "pdk/tests/faults.h"

#include <ace/OS_NS_Thread.h>
#include <dlfcn.h>

#include <cerrno>

#include "framework/include/obzx_runtime.h"

namespace {

thread_local int t_lock = pdktest::CFaults::NEVER;
thread_local int t_identity = pdktest::CFaults::NEVER;
thread_local int t_buffer = pdktest::CFaults::NEVER;
thread_local bool t_lockFailed = false;

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

}  // namespace pdktest

namespace ACE_OS {

int mutex_lock(ACE_mutex_t* mutex)
{
    static auto* const real = nextOne<int(ACE_mutex_t*)>("_ZN6ACE_OS10mutex_lockEP15pthread_mutex_t");
    if (!isDue(t_lock)) return real(mutex);
    t_lockFailed = true;
    errno = EINVAL;
    return -1;
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
