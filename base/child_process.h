#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>

#include "base/file_descriptor.h"

namespace base {

/// How a process ended.
struct SExitStatus
{
    bool lost = false;  ///< somebody else took it: this process ignores SIGCHLD or waits for any child
    bool held = false;  ///< it was killed and has not ended: the kernel holds it
    int exit = 0;       ///< exit status; 0 for one that did not exit by itself
    int signal = 0;     ///< that killed it; 0 for none
};

/**
 * A child that leads a process group of its own. Nothing here waits, so that who runs it can watch other things: it
 * calls hasEnded() whenever descriptor() is readable or lookAt() has come, until that is true. One that still runs is
 * killed with the object, with its group, and not waited for. For one thread.
 */
class CChildProcess
{
  public:
    using Clock = std::chrono::steady_clock;

    /// What a process that is being stopped has started and has not ended with it.
    enum class ERest : uint8_t
    {
        HAS_GRACE,  ///< may end by itself as long as the process could; the stop ends with the last of them
        IS_KILLED,  ///< is killed at once; the stop ends with the process
    };

    explicit CChildProcess(pid_t pid) : m_pid(pid) {}
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    /// Its id and its group's.
    pid_t pid() const { return m_pid; }
    /// Readable once the process has ended; opened by the first call. -1 when the system has none left, and once the
    /// process has ended.
    int descriptor() noexcept;
    /// When hasEnded() has something to do at the latest, which is soon where no descriptor tells; time_point::max()
    /// for nothing.
    Clock::time_point lookAt() const noexcept;

    /// Sends the group SIGTERM, and SIGKILL once the grace is over; a shorter grace than that of a stop under way
    /// replaces it.
    void stop(std::chrono::milliseconds grace, ERest rest) noexcept;
    bool isStopping() const { return m_isStopping; }
    /// Sends the group SIGKILL.
    void kill() noexcept;

    /// Takes the status of a process that has ended, goes on with a stop under way, and gives up a process that does
    /// not even end within 5 s after it was killed.
    /// @return true: all this is over
    bool hasEnded() noexcept;
    /// Filled once hasEnded().
    const SExitStatus& exitStatus() const { return m_status; }

  private:
    static constexpr Clock::time_point NEVER = Clock::time_point::max();

    bool takeStatus() noexcept;
    bool groupIsGone() const noexcept;

    const pid_t m_pid;
    CFileDescriptor m_descriptor;
    Clock::time_point m_killAt = NEVER;    // set while it has its grace
    Clock::time_point m_giveUpAt = NEVER;  // set once it was killed
    bool m_isStopping = false;
    ERest m_rest = ERest::HAS_GRACE;
    bool m_isTaken = false;  // its status; the rest of its group may be there
    bool m_isOver = false;
    SExitStatus m_status;
};

}  // namespace base
