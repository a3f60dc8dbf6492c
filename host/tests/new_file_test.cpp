#include "host/src/output/new_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"
#include "host/src/output/error.h"

namespace fs = std::filesystem;
using fictl::CNewFile;
using fictl::EFictl;

namespace {

class CNewFileTest : public testing::Test
{
  protected:
    static constexpr auto REFUSE = CNewFile::EBusy::REFUSE;
    static constexpr auto WAIT = CNewFile::EBusy::WAIT;

    bool make(const std::string& text, bool mayReplace = false) const
    {
        CNewFile file(m_file, REFUSE);
        file.write(text);
        return file.keep(mayReplace);
    }

    std::string refusal() const
    {
        try {
            const CNewFile file(m_file, REFUSE);
            return "none";
        } catch (const EFictl& error) {
            return error.what();
        }
    }

    const base_test::CTemporaryFolder m_folder;
    const std::string m_file = m_folder.path() / "file";
    const std::string m_part = m_file + ".part";
};

TEST_F(CNewFileTest, AppearsWholeForItsOwnerOnly)
{
    {
        CNewFile file(m_file, REFUSE);
        file.write("text");
        EXPECT_FALSE(fs::exists(m_file));
        EXPECT_TRUE(file.keep(false));
    }
    EXPECT_EQ(base_test::contentOf(m_file), "text");
    EXPECT_EQ(fs::status(m_file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_FALSE(fs::exists(m_part));
}

TEST_F(CNewFileTest, LeavesNothingUnlessItIsKept)
{
    CNewFile(m_file, REFUSE).write("text");
    EXPECT_TRUE(fs::is_empty(m_folder.path()));
}

TEST_F(CNewFileTest, ReplacesOnlyWhereThatIsWanted)
{
    EXPECT_TRUE(make("first"));
    EXPECT_FALSE(make("second"));
    EXPECT_EQ(base_test::contentOf(m_file), "first");
    EXPECT_FALSE(fs::exists(m_part));
    EXPECT_TRUE(make("third", true));
    EXPECT_EQ(base_test::contentOf(m_file), "third");
}

TEST_F(CNewFileTest, TakesOverWhatAKilledProcessLeft)
{
    base_test::writeFile(m_part, "half of a longer text");
    fs::permissions(m_part, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(make("whole"));
    EXPECT_EQ(base_test::contentOf(m_file), "whole");
}

TEST_F(CNewFileTest, OneThatAllMayReadIsReadableBeforeItHasItsName)
{
    base_test::writeFile(m_part, "half of a longer text");  // of one that was killed
    fs::permissions(m_part, fs::perms(0644));
    CNewFile file(m_file, REFUSE, CNewFile::EReaders::ALL);
    file.write("whole");
    EXPECT_EQ(fs::status(m_part).permissions(), fs::perms(0644));
    EXPECT_TRUE(file.keep(false));
    EXPECT_EQ(fs::status(m_file).permissions(), fs::perms(0644));
    EXPECT_EQ(base_test::contentOf(m_file), "whole");
    base_test::writeFile(m_part, "for all to change");
    fs::permissions(m_part, fs::perms(0664));
    EXPECT_THROW(CNewFile(m_file, REFUSE, CNewFile::EReaders::ALL), EFictl);
    EXPECT_EQ(base_test::contentOf(m_part), "for all to change");
}

TEST_F(CNewFileTest, LeavesAloneWhatSomebodyElsePrepared)
{
    base_test::writeFile(m_part, "readable by others");
    fs::permissions(m_part, fs::perms(0644));
    EXPECT_EQ(refusal(), "cannot create " + m_part + ": File exists");
    EXPECT_EQ(base_test::contentOf(m_part), "readable by others");
    fs::remove(m_part);
    fs::create_symlink(m_folder.path() / "elsewhere", m_part);
    EXPECT_EQ(refusal(), "cannot create " + m_part + ": Too many levels of symbolic links");
    EXPECT_TRUE(fs::is_symlink(m_part));
}

TEST_F(CNewFileTest, AFolderThatIsNotThereIsTold)
{
    EXPECT_THROW(CNewFile(m_folder.path() / "no/file", REFUSE), EFictl);
}

TEST_F(CNewFileTest, OneThatIsBeingMadeIsRefusedOrWaitedFor)
{
    CNewFile first(m_file, REFUSE);
    EXPECT_EQ(refusal(), "cannot create " + m_part + ": Resource temporarily unavailable");
    EXPECT_TRUE(fs::exists(m_part)) << "who came second took away the first one's";
    bool isKept = true;
    std::thread other([&] {
        CNewFile second(m_file, WAIT);
        second.write("second");
        isKept = second.keep(false);
    });
    first.write("first");
    EXPECT_TRUE(first.keep(false));
    other.join();
    EXPECT_FALSE(isKept);
    EXPECT_EQ(base_test::contentOf(m_file), "first");
}

}  // namespace
