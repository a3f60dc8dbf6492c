#pragma once

#include <unistd.h>

namespace pdktest {

/**
 * What the test program makes fail from outside. It defines a few functions of ACE and of the runtime itself; being the
 * program, its definitions come before those of the libraries. Each number counts down on the thread that set it, the
 * call that finds it at 0 fails, and NEVER lets all calls through. All faults end with the object.
 */
class CFaults
{
  public:
    static constexpr int NEVER = -1;

    CFaults() = default;
    ~CFaults();
    CFaults(const CFaults&) = delete;
    CFaults& operator=(const CFaults&) = delete;

    void failLock(int after);      ///< one ACE mutex cannot be locked: EINVAL
    void failIdentity(int after);  ///< one obzx_get_objid has no memory
    void failBuffer(int after);    ///< one obzx_alloc_buf has no memory
    static bool lockHasFailed();   ///< since failLock
};

/// Runs the steps again and again, each time with another one of their locks failing; ends the process with 0. A
/// reference that could not be given back is kept on purpose, so this runs in a process of its own.
template <class Steps>
void failEveryLock(const Steps& steps)
{
    CFaults faults;
    int failed = -1;
    do {
        faults.failLock(++failed);
        steps();
    } while (CFaults::lockHasFailed());
    _exit(failed > 0 ? 0 : 1);
}

}  // namespace pdktest
