#pragma once

#include <ace/os_include/os_pthread.h>
#include <unistd.h>

#include <map>
#include <set>
#include <string>
#include <vector>

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

/**
 * The ACE mutexes that this thread locks and gives back while the object lives; one object a thread at a time. A mutex
 * of a provider's library guards one of its singletons.
 */
class CLockWatch
{
  public:
    CLockWatch();
    ~CLockWatch();
    CLockWatch(const CLockWatch&) = delete;
    CLockWatch& operator=(const CLockWatch&) = delete;

    /// The mutexes of a library, by the beginning of its file's name, in the order in which they were locked.
    std::vector<const pthread_mutex_t*> lockedOf(const std::string& library) const;
    /// Held now.
    std::set<const pthread_mutex_t*> held() const;
    /// That nobody of this thread held any more at some time since the last call.
    std::set<const pthread_mutex_t*> takeGivenBack();

    void locked(const pthread_mutex_t* mutex);
    void unlocked(const pthread_mutex_t* mutex);

  private:
    std::vector<const pthread_mutex_t*> m_locked;
    std::map<const pthread_mutex_t*, int> m_held;
    std::set<const pthread_mutex_t*> m_givenBack;
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
