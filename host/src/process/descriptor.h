#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace fictl {

/// Owns an open file descriptor.
class CDescriptor
{
  public:
    CDescriptor() noexcept = default;
    explicit CDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    CDescriptor(CDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor() { reset(); }

    void reset() noexcept
    {
        if (m_descriptor >= 0) ::close(m_descriptor);
        m_descriptor = -1;
    }
    int get() const noexcept { return m_descriptor; }
    explicit operator bool() const noexcept { return m_descriptor >= 0; }

  private:
    int m_descriptor = -1;
};

/// The same under a number above those of the standard streams, which a process that runs without them hands out; they
/// must stay free for them. None when the system has no more.
inline CDescriptor aboveStandard(CDescriptor descriptor)
{
    if (!descriptor || descriptor.get() > STDERR_FILENO) return descriptor;
    return CDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace fictl
