#include "framework/include/cfiplatformerror.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>

#include "framework/tests/support/scratch.h"

namespace {

using obzx_pdk_4_4::CFiPlatformError;

TEST(PlatformError, CarriesPathErrorAndText)
{
    const CFiPlatformError error("/some/path", ENOENT);
    EXPECT_EQ(error.getPath(), "/some/path");
    EXPECT_EQ(error.getError(), ENOENT);
    EXPECT_STREQ(error.what(), std::strerror(ENOENT));
    EXPECT_STREQ(CFiPlatformError::getCatalogName(), "ksv_fi");
}

TEST(PlatformError, ValueWithoutATextIsOutOfRange)
{
    EXPECT_EQ(CFiPlatformError::errorText(12345), "Errno 12345 (3039) out of range");
    EXPECT_EQ(CFiPlatformError::errorText(-1), "Errno -1 (ffffffff) out of range");
    EXPECT_EQ(CFiPlatformError::errorText(INT_MAX), "Errno 2147483647 (7fffffff) out of range");
    EXPECT_EQ(CFiPlatformError::errorText(0), "Success");
}

TEST(PlatformError, TrimsUpToTwoLineEndsAndNeverTheLastCharacter)
{
    EXPECT_EQ(CFiPlatformError::trimLineEnds("text"), "text");
    EXPECT_EQ(CFiPlatformError::trimLineEnds("text\n"), "text");
    EXPECT_EQ(CFiPlatformError::trimLineEnds("text\r\n"), "text");
    EXPECT_EQ(CFiPlatformError::trimLineEnds("text\n\r\n"), "text\n");
    EXPECT_EQ(CFiPlatformError::trimLineEnds("text\n "), "text\n ");
    EXPECT_EQ(CFiPlatformError::trimLineEnds("\n"), "\n");
    EXPECT_EQ(CFiPlatformError::trimLineEnds("\n\n"), "\n");
    EXPECT_EQ(CFiPlatformError::trimLineEnds("\n\n\n"), "\n");
    EXPECT_EQ(CFiPlatformError::trimLineEnds(""), "");
}

class TempFileName : public obzx_test::CScratch
{
  protected:
    TempFileName() { ::setenv("TMPDIR", root().c_str(), 1); }
    ~TempFileName() override { ::unsetenv("TMPDIR"); }
};

TEST_F(TempFileName, NamesAFreshEmptyFileOfThisUserOnly)
{
    const std::string path = CFiPlatformError::getTempFileName(nullptr, nullptr);
    EXPECT_EQ(path.rfind(root() + "/ksv_fi", 0), 0u) << path;
    struct stat status = {};
    ASSERT_EQ(::lstat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    EXPECT_EQ(status.st_size, 0);
}

TEST_F(TempFileName, EmptyFolderIsTheDefaultOne)
{
    EXPECT_EQ(CFiPlatformError::getTempFileName("", "x").rfind(root() + "/x", 0), 0u);
    ::unsetenv("TMPDIR");
    const std::string path = CFiPlatformError::getTempFileName(nullptr, nullptr);
    EXPECT_EQ(path.rfind("/tmp/ksv_fi", 0), 0u) << path;
    ::unlink(path.c_str());
}

TEST_F(TempFileName, IsNewEachTime)
{
    EXPECT_NE(CFiPlatformError::getTempFileName(nullptr, nullptr), CFiPlatformError::getTempFileName(nullptr, nullptr));
}

TEST_F(TempFileName, HonoursFolderAndPrefix)
{
    const std::string folder = root() + "/own";
    ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
    const std::string path = CFiPlatformError::getTempFileName(folder.c_str(), "job");
    EXPECT_EQ(path.rfind(folder + "/job", 0), 0u) << path;
}

TEST_F(TempFileName, MissingFolderIsAnErrorThatNamesIt)
{
    const std::string folder = root() + "/missing";
    try {
        CFiPlatformError::getTempFileName(folder.c_str(), nullptr);
        FAIL() << "a file in a folder that is not there";
    } catch (const CFiPlatformError& error) {
        EXPECT_EQ(error.getError(), ENOENT);
        EXPECT_EQ(error.getPath().rfind(folder, 0), 0u) << error.getPath();
    }
}

}  // namespace
