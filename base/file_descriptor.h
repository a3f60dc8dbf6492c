#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace base {

/// Owns an open file descriptor, or none.
class CFileDescriptor
{
  public:
    CFileDescriptor() noexcept = default;
    explicit CFileDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    CFileDescriptor(CFileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    CFileDescriptor(const CFileDescriptor&) = delete;
    CFileDescriptor& operator=(const CFileDescriptor&) = delete;
    ~CFileDescriptor() { reset(); }

    void reset() noexcept
    {
        if (m_descriptor >= 0) ::close(m_descriptor);
        m_descriptor = -1;
    }
    int get() const noexcept { return m_descriptor; }
    /// Hands it over to the caller.
    int release() noexcept { return std::exchange(m_descriptor, -1); }
    explicit operator bool() const noexcept { return m_descriptor >= 0; }

  private:
    int m_descriptor = -1;
};

/// The same under a number above those of the standard streams, which a process that runs without them hands out; they
/// must stay free for them. None, with errno set, when the system has no more.
inline CFileDescriptor aboveStandard(CFileDescriptor descriptor) noexcept
{
    if (!descriptor || descriptor.get() > STDERR_FILENO) return descriptor;
    return CFileDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace base
