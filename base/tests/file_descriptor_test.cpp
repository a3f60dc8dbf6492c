#include "base/file_descriptor.h"

#include <gtest/gtest.h>

#include <cerrno>

using base::CFileDescriptor;

namespace {

CFileDescriptor openNothing()
{
    return CFileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

bool isOpen(int descriptor)
{
    return ::fcntl(descriptor, F_GETFD) >= 0;
}

}  // namespace

TEST(FileDescriptor, IsClosedWithItsOwner)
{
    int number = -1;
    {
        const CFileDescriptor file = openNothing();
        number = file.get();
        EXPECT_TRUE(isOpen(number));
    }
    EXPECT_FALSE(isOpen(number));
}

TEST(FileDescriptor, MovesToAnotherOwner)
{
    CFileDescriptor first = openNothing();
    const int number = first.get();
    const CFileDescriptor second = std::move(first);
    EXPECT_EQ(second.get(), number);
    EXPECT_TRUE(isOpen(number));
}

TEST(FileDescriptor, StaysOpenWhenItIsReleased)
{
    CFileDescriptor file = openNothing();
    const int number = file.release();
    EXPECT_FALSE(file);
    EXPECT_TRUE(isOpen(number));
    ::close(number);
}

TEST(FileDescriptor, OneInPlaceOfAStandardStreamMovesAboveThem)
{
    const CFileDescriptor kept(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    ::close(STDIN_FILENO);
    CFileDescriptor low = openNothing();
    ASSERT_EQ(low.get(), STDIN_FILENO);
    const CFileDescriptor moved = base::aboveStandard(std::move(low));
    EXPECT_GT(moved.get(), STDERR_FILENO);
    EXPECT_FALSE(isOpen(STDIN_FILENO));
    if (kept) ::dup2(kept.get(), STDIN_FILENO);
}

TEST(FileDescriptor, NoneStaysNone)
{
    EXPECT_FALSE(base::aboveStandard(CFileDescriptor()));
}
