#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "providers/cdp/cdp_support.h"
#include "providers/cdp/tests/scenario.h"

namespace cdpfi {

namespace {

using testing::ElementsAre;
using CLines = std::vector<std::string>;

class ReadFile : public testing::Test
{
  protected:
    std::string path() const { return (m_scenario.root() / "file").string(); }
    CLines read(const std::string& content) const
    {
        m_scenario.write("file", content);
        return readPath();
    }
    CLines readPath() const
    {
        CLines lines{"before"};
        CDPSupportFunction::readFile(path(), lines);
        return lines;
    }

    CScenario m_scenario;
};

}  // namespace

TEST_F(ReadFile, AppendsTheLinesInOrderWithoutTheirEnds)
{
    EXPECT_THAT(read("one\ntwo\n\nthree"), ElementsAre("before", "one", "two", "", "three"));
}

TEST_F(ReadFile, AFileThatEndsInANewlineYieldsALastEmptyLine)
{
    EXPECT_THAT(read("one\n"), ElementsAre("before", "one", ""));
}

TEST_F(ReadFile, AnEmptyFileYieldsOneEmptyLine)
{
    EXPECT_THAT(read(""), ElementsAre("before", ""));
}

TEST_F(ReadFile, NothingButTheNewlineIsTakenOffALine)
{
    EXPECT_THAT(read(" a \r\n\tb"), ElementsAre("before", " a \r", "\tb"));
}

TEST_F(ReadFile, ALongLineIsCutAndTheReadingGoesOn)
{
    const std::string fits(4095, 'x');
    EXPECT_THAT(read(fits + "\n" + fits + "yRSURL=no:1\nRSURL=a:1"), ElementsAre("before", fits, fits, "RSURL=a:1"));
}

TEST_F(ReadFile, WhatIsNotThereOrNoRegularFileLeavesTheLinesAlone)
{
    EXPECT_THAT(readPath(), ElementsAre("before"));
    ASSERT_EQ(0, mkfifo(path().c_str(), 0600));
    EXPECT_THAT(readPath(), ElementsAre("before"));
    std::filesystem::remove(path());
    std::filesystem::create_directory(path());
    EXPECT_THAT(readPath(), ElementsAre("before"));
    std::filesystem::remove(path());
    std::filesystem::create_symlink("/dev/zero", path());
    EXPECT_THAT(readPath(), ElementsAre("before"));
}

TEST_F(ReadFile, AFileOfMoreThanSixteenMebibytesIsNotRead)
{
    m_scenario.write("file", "RSURL=a:1\n");
    std::filesystem::resize_file(path(), 16 * 1024 * 1024);
    EXPECT_EQ(3u, readPath().size());
    std::filesystem::resize_file(path(), 16 * 1024 * 1024 + 1);
    EXPECT_THAT(readPath(), ElementsAre("before"));
}

TEST_F(ReadFile, ASparseGiantDoesNotHoldTheCallerUp)
{
    m_scenario.write("file", "");
    std::filesystem::resize_file(path(), uintmax_t{1} << 40);
    EXPECT_THAT(readPath(), ElementsAre("before"));
}

}  // namespace cdpfi
