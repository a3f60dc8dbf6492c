#pragma once

#include <unistd.h>

#include <utility>

namespace obzx_pdk_4_4 {

/// Owns an open file descriptor.
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

}  // namespace obzx_pdk_4_4
