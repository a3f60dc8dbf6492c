#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "base/file_descriptor.h"

namespace base_test {

/// A program whose start stalls, as on a file system that does not answer: it has a lease, so the kernel asks its
/// holder before anybody may open it, for some 45 s, and gets no answer.
class CStalledProgram
{
  public:
    /// @param path of a file that is made
    explicit CStalledProgram(const std::string& path)
    {
        std::filesystem::copy_file("/bin/true", path);
        m_file = base::CFileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        m_asked = ::signal(SIGIO, SIG_IGN);
        EXPECT_EQ(::fcntl(m_file.get(), F_SETLEASE, F_WRLCK), 0);
    }
    ~CStalledProgram() { ::signal(SIGIO, m_asked); }
    CStalledProgram(const CStalledProgram&) = delete;
    CStalledProgram& operator=(const CStalledProgram&) = delete;

    void goOn() { ::fcntl(m_file.get(), F_SETLEASE, F_UNLCK); }

  private:
    base::CFileDescriptor m_file;
    void (*m_asked)(int) = nullptr;
};

}  // namespace base_test
