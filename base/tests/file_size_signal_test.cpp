#include "base/file_size_signal.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "base/file_descriptor.h"
#include "base/tests/temporary_folder.h"

#include <fcntl.h>

namespace {

class FileSizeSignal : public testing::Test
{
  protected:
    // The wait status of a process in which files have no room.
    int statusOf(const std::function<int(int)>& work)
    {
        const base_test::CTemporaryFolder folder;
        const base::CFileDescriptor file(::open((folder / "file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        const pid_t pid = ::fork();
        if (pid == 0) {
            const rlimit none = {};
            ::setrlimit(RLIMIT_FSIZE, &none);
            ::_exit(work(file.get()));
        }
        int status = -1;
        ::waitpid(pid, &status, 0);
        return status;
    }

    static bool failsToWrite(int file) { return ::write(file, "x", 1) < 0 && errno == EFBIG; }
};

TEST_F(FileSizeSignal, IsKeptFromTheThreadAndGone)
{
    EXPECT_EQ(statusOf([](int file) {
                  {
                      const base::CFileSizeSignalHeld held;
                      if (!failsToWrite(file)) return 1;
                  }
                  return 0;
              }),
              0);
}

TEST_F(FileSizeSignal, ReachesTheThreadAgainLater)
{
    const int status = statusOf([](int file) {
        {
            const base::CFileSizeSignalHeld held;
        }
        failsToWrite(file);
        return 0;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
}

TEST_F(FileSizeSignal, OfTheHostStaysPending)
{
    EXPECT_EQ(statusOf([](int file) {
                  sigset_t own, pending;
                  sigemptyset(&own);
                  sigaddset(&own, SIGXFSZ);
                  ::pthread_sigmask(SIG_BLOCK, &own, nullptr);
                  failsToWrite(file);
                  {
                      const base::CFileSizeSignalHeld held;
                      failsToWrite(file);
                  }
                  ::sigpending(&pending);
                  return sigismember(&pending, SIGXFSZ) == 1 ? 0 : 1;
              }),
              0);
}

TEST_F(FileSizeSignal, IsNotTouchedWhereFilesMayGrow)
{
    sigset_t blocked;
    const base::CFileSizeSignalHeld held;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    rlimit size = {};
    ::getrlimit(RLIMIT_FSIZE, &size);
    EXPECT_EQ(sigismember(&blocked, SIGXFSZ) == 0, size.rlim_cur == RLIM_INFINITY);
}

}  // namespace
