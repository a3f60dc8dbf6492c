#include "base/file_read.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>

#include "base/file_descriptor.h"
#include "base/tests/temporary_folder.h"

using base::EFileRead;
using base::readFile;

namespace {

class FileRead : public testing::Test
{
  protected:
    std::string write(const std::string& text)
    {
        const std::string path = m_folder / "file";
        std::ofstream(path) << text;
        return path;
    }

    base_test::CTemporaryFolder m_folder;
};

}  // namespace

TEST_F(FileRead, GivesTheWholeContent)
{
    const std::string text(10000, 'x');
    EXPECT_EQ(readFile(write(text), text.size()).text, text);
    EXPECT_EQ(readFile(write(""), 0).outcome, EFileRead::DONE);
}

TEST_F(FileRead, AFileOfProcThatTellsNoSizeIsReadToItsEnd)
{
    const base::SFileText read = readFile("/proc/self/status", 1U << 20U);
    ASSERT_TRUE(read);
    EXPECT_EQ(read.text.find('\0'), std::string::npos);
    EXPECT_EQ(read.text.back(), '\n');
}

TEST_F(FileRead, RefusesOneByteOverTheLimit)
{
    const base::SFileText read = readFile(write("12345"), 4);
    EXPECT_EQ(read.outcome, EFileRead::TOO_LARGE);
    EXPECT_EQ(read.text, "");
    EXPECT_EQ(base::reasonOf(read, 4), "larger than 4 bytes");
    EXPECT_EQ(readFile("/proc/self/status", 100).outcome, EFileRead::TOO_LARGE);
}

TEST_F(FileRead, DoesNotWaitForTheWriterOfAFifo)
{
    const std::string fifo = m_folder / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const base::SFileText read = readFile(fifo, 100);
    EXPECT_EQ(read.outcome, EFileRead::NOT_REGULAR_FILE);
    EXPECT_EQ(base::reasonOf(read, 100), "not a regular file");
    EXPECT_EQ(readFile(m_folder.path(), 100).outcome, EFileRead::NOT_REGULAR_FILE);
}

TEST_F(FileRead, TellsWhyAFileCannotBeOpened)
{
    const base::SFileText read = readFile(m_folder / "none", 100);
    EXPECT_EQ(read.outcome, EFileRead::NOT_READABLE);
    EXPECT_EQ(read.error, ENOENT);
    EXPECT_EQ(base::reasonOf(read, 100), "No such file or directory");
}

TEST_F(FileRead, ReadingAtAnOffsetStopsAtTheEnd)
{
    const base::CFileDescriptor file(::open(write("abcdef").c_str(), O_RDONLY | O_CLOEXEC));
    char bytes[8] = {};
    EXPECT_EQ(base::readAt(file.get(), bytes, sizeof bytes, 2), 4);
    EXPECT_STREQ(bytes, "cdef");
    EXPECT_EQ(base::readAt(-1, bytes, sizeof bytes, 0), -1);
    EXPECT_EQ(errno, EBADF);
}
