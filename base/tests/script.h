#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <string>

#include "base/child_start.h"
#include "base/pipe.h"

namespace base_test {

/// A shell script that runs. Whoever uses it waits for its end.
class CScript
{
  public:
    explicit CScript(const std::string& text, base::SChildStart start = {})
    {
        const base::CFileDescriptor input = base::openInput();
        base::SPipe pipe = base::openPipe();
        start.programs = {"/bin/sh"};
        start.words = {"sh", "-c", text};
        start.input = input.get();
        start.output = start.errors = pipe.writeEnd.get();
        EXPECT_EQ(base::startChild(start, m_pid), 0);
        m_output = std::move(pipe.readEnd);
    }

    pid_t pid() const { return m_pid; }

    /// The next line that it writes, or what is left at the end of all output; the test's own time limit ends the wait
    /// for one that writes nothing.
    std::string line() const
    {
        std::string text;
        for (;;) {
            char byte = 0;
            pollfd output[] = {{m_output.get(), POLLIN, 0}};
            ::poll(output, 1, -1);
            if (::read(m_output.get(), &byte, 1) != 1 || byte == '\n') return text;
            text += byte;
        }
    }

  private:
    pid_t m_pid = -1;
    base::CFileDescriptor m_output;
};

}  // namespace base_test
