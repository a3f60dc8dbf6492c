#pragma once

#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace base {

/**
 * As long as it lives, a write of this thread past the largest size that a file of this process may have (RLIMIT_FSIZE)
 * fails with EFBIG and nothing else: the system's signal, which ends a process that does not expect it, is kept from
 * the thread. For a library that changes nothing of its host's signal handling; a program ignores SIGXFSZ. Keeps errno.
 */
class CFileSizeSignalHeld
{
  public:
    /// @param isLimited what isLimited() says, for who does not ask it for each write
    explicit CFileSizeSignalHeld(bool isLimited = CFileSizeSignalHeld::isLimited()) noexcept
    {
        const int error = errno;
        if (isLimited) hold();
        errno = error;
    }
    ~CFileSizeSignalHeld()
    {
        if (!m_isHeld) return;
        const int error = errno;
        // One that was there before is the host's.
        const timespec now = {};
        if (!m_wasPending) ::sigtimedwait(&m_signal, nullptr, &now);
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = error;
    }
    CFileSizeSignalHeld(const CFileSizeSignalHeld&) = delete;
    CFileSizeSignalHeld& operator=(const CFileSizeSignalHeld&) = delete;

    /// Whether a file of this process may become too large; also when that cannot be told. Keeps errno.
    static bool isLimited() noexcept
    {
        const int error = errno;
        rlimit size = {};
        const bool isKnown = ::getrlimit(RLIMIT_FSIZE, &size) == 0;
        errno = error;
        return !isKnown || size.rlim_cur != RLIM_INFINITY;
    }

  private:
    void hold() noexcept
    {
        sigset_t pending;
        sigemptyset(&m_signal);
        sigaddset(&m_signal, SIGXFSZ);
        m_isHeld = ::pthread_sigmask(SIG_BLOCK, &m_signal, &m_before) == 0;
        m_wasPending = ::sigpending(&pending) == 0 && sigismember(&pending, SIGXFSZ) == 1;
    }

    sigset_t m_signal;
    sigset_t m_before;
    bool m_isHeld = false;
    bool m_wasPending = false;
};

}  // namespace base
