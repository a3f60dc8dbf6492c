#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/tests/process_end.h"
#include "framework/include/cfiexecpipe.h"
#include "framework/tests/support/scratch.h"

namespace obzx_test {

/// Runs exec_child.
class CExecTest : public CScratch
{
  protected:
    static std::string child(const std::string& words) { return "\"" EXEC_CHILD "\" " + words; }

    /// Runs a command line with a time-out that no test is meant to reach.
    int run(const std::string& commandLine, const std::string& input = "", unsigned long timeout = 60)
    {
        m_lines.clear();
        return m_pipe.Exec(commandLine, m_lines, input, timeout, "", "", "");
    }
    long code() const { return m_pipe.getError().code; }
    const std::string& message() const { return m_pipe.getError().message; }

    /// Runs the piece in a forked child, whose process-wide state it may change. True: the piece returned true.
    template <class F>
    static bool inChild(F piece)
    {
        const pid_t pid = ::fork();
        if (pid == 0) ::_exit(piece() ? 0 : 1);
        int status = -1;
        return ::waitpid(pid, &status, 0) == pid && status == 0;
    }

    static std::vector<std::string> openDescriptors()
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            names.push_back(entry.path());
        }
        return names;
    }

    obzx_pdk_4_4::CFiExecPipePosix m_pipe{1};
    std::vector<std::string> m_lines;
};

}  // namespace obzx_test
