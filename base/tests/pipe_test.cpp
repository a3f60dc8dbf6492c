#include "base/pipe.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>

#include "base/tests/no_descriptor_left.h"

using base::SPipe;

TEST(Pipe, GivesWhatIsWrittenAndDoesNotWaitForMore)
{
    SPipe pipe = base::openPipe();
    ASSERT_TRUE(pipe);
    char byte = 0;
    EXPECT_EQ(::read(pipe.readEnd.get(), &byte, 1), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(::write(pipe.writeEnd.get(), "x", 1), 1);
    EXPECT_EQ(::read(pipe.readEnd.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
    pipe.writeEnd.reset();
    EXPECT_EQ(::read(pipe.readEnd.get(), &byte, 1), 0);
}

TEST(Pipe, IsOfThisProcessAlone)
{
    const SPipe pipe = base::openPipe();
    EXPECT_EQ(::fcntl(pipe.readEnd.get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(::fcntl(pipe.writeEnd.get(), F_GETFD), FD_CLOEXEC);
}

TEST(Pipe, LiesAboveTheStandardStreamsOfAProcessWithoutThem)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(STDIN_FILENO);
        ::close(STDERR_FILENO);
        const SPipe pipe = base::openPipe();
        ::_exit(pipe.readEnd.get() > STDERR_FILENO && pipe.writeEnd.get() > STDERR_FILENO &&
                        ::fcntl(STDIN_FILENO, F_GETFD) < 0 && ::fcntl(STDERR_FILENO, F_GETFD) < 0
                    ? 0
                    : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(Pipe, IsNoneWhenThereIsNoDescriptorLeft)
{
    const base_test::CNoDescriptorLeft limit;
    EXPECT_FALSE(base::openPipe());
    EXPECT_EQ(errno, EMFILE);
}
