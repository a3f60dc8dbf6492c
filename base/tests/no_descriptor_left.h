#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

#include "base/file_descriptor.h"

namespace base_test {

/// Lets the host have no descriptor left.
class CNoDescriptorLeft
{
  public:
    CNoDescriptorLeft()
    {
        const base::CFileDescriptor next(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        ::getrlimit(RLIMIT_NOFILE, &m_former);
        const rlimit none{static_cast<rlim_t>(next.get()), m_former.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
        EXPECT_EQ(::dup(next.get()), -1);
        EXPECT_EQ(errno, EMFILE);
    }
    ~CNoDescriptorLeft() { ::setrlimit(RLIMIT_NOFILE, &m_former); }
    CNoDescriptorLeft(const CNoDescriptorLeft&) = delete;
    CNoDescriptorLeft& operator=(const CNoDescriptorLeft&) = delete;

  private:
    rlimit m_former = {};
};

}  // namespace base_test
