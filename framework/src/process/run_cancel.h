#pragma once

#include <cstdint>

#include "base/file_descriptor.h"

namespace obzx_pdk_4_4 {

/// Whether a run was cancelled since it began, which is when this object was made. For one thread.
class CRunCancel
{
  public:
    CRunCancel() noexcept;
    ~CRunCancel();
    CRunCancel(const CRunCancel&) = delete;
    CRunCancel& operator=(const CRunCancel&) = delete;

    bool isRequested() const noexcept;
    /// Readable from the cancellation on; opened by the first call. -1 when the host has none left, and after a
    /// cancellation that came before it: then isRequested() tells.
    int descriptor() noexcept;
    /// For a descriptor that is readable although the run is not cancelled, which a forked copy of this process can do.
    void dropDescriptor() noexcept { m_descriptor.reset(); }

  private:
    void join() noexcept;

    const uint32_t m_round;
    bool m_hasJoined = false;
    base::CFileDescriptor m_descriptor;
};

/// Cancels the runs that have begun. Safe in a signal handler; keeps errno.
void cancelRuns() noexcept;

}  // namespace obzx_pdk_4_4
