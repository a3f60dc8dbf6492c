// Content: what annotations and time images hold, and what is left when their making is interrupted.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/files_engine.h"
#include "appliance/core/files/file_copy.h"
#include "appliance/core/files/gate.h"
#include "appliance/core/store/work_folder.h"
#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr size_t LUN_SIZE = size_t{256} << 10U;

void removeAll(const fs::path& folder)
{
    fs::remove_all(folder);
}

class Content : public testing::Test
{
  protected:
    void fill(const std::string& lun, char letter) const
    {
        EXPECT_EQ(m_demo.lmadm({"write", lun, "--offset", "0", "--pattern", std::string(1, letter)}).status, 0);
    }
    std::string lun(const std::string& name) const { return contentOf(m_demo.home() / "dev" / name); }
    fs::path onlyFolder(const std::string& area) const { return fs::directory_iterator(m_demo.home() / area)->path(); }
    size_t groupLinesAfterSections() const { return m_demo.showGroup().size(); }

    CDemoStore m_demo;
};

TEST_F(Content, AnAnnotationIsIndependentOfLaterWrites)
{
    fill("lun1", 'A');
    m_demo.createAnnotation("before");
    fill("lun1", 'B');
    fill("lun2", 'B');
    m_demo.createTimeImage("T", "before", "backup");
    EXPECT_EQ(contentOf(onlyFolder("images") / "dev/lun1"), std::string(LUN_SIZE, 'A'));
    EXPECT_EQ(contentOf(onlyFolder("images") / "dev/lun2"), std::string(LUN_SIZE, '\0'));
    EXPECT_EQ(lun("lun1"), std::string(LUN_SIZE, 'B'));
}

TEST_F(Content, WritingToATimeImageTouchesNeitherSourceNorAnnotation)
{
    fill("lun1", 'A');
    m_demo.createAnnotation("A");
    m_demo.createTimeImage("T", "A", "backup");
    const fs::path first = onlyFolder("images");
    writeFile(first / "dev/lun1", std::string(LUN_SIZE, 'X'));
    EXPECT_EQ(lun("lun1"), std::string(LUN_SIZE, 'A'));
    m_demo.createTimeImage("T2", "A", "backup");
    for (const fs::directory_entry& image : fs::directory_iterator(m_demo.home() / "images")) {
        EXPECT_EQ(contentOf(image.path() / "dev/lun1"), std::string(LUN_SIZE, image.path() == first ? 'X' : 'A'));
    }
}

TEST_F(Content, CopiesLeaveHolesOut)
{
    const fs::path source = m_demo.folder() / "sparse";
    writeFile(source, "");
    fs::resize_file(source, uint64_t{8} << 20U);
    {
        std::FILE* const file = std::fopen(source.c_str(), "r+");
        std::fseek(file, 5 << 20U, SEEK_SET);
        std::fputs("in the middle", file);
        std::fclose(file);
    }
    const fs::path target = m_demo.folder() / "copy";
    copyFile(source, target, (uint64_t{8} << 20U) + 10);
    const std::string copy = contentOf(target);
    EXPECT_EQ(copy.size(), (size_t{8} << 20U) + 10);
    EXPECT_EQ(copy.find_first_not_of('\0'), size_t{5} << 20U);
    EXPECT_EQ(copy.substr(size_t{5} << 20U, 14), std::string("in the middle\0", 14));
    struct stat info = {};
    ::stat(target.c_str(), &info);
    EXPECT_LT(info.st_blocks * 512, 1 << 20U);
}

TEST_F(Content, TheGateHoldsAnAnnotationBackAndAKilledOneLeavesNothing)
{
    const Lines before = m_demo.showGroup();
    {
        // The same gate that a writer would hold: groups are numbered from 1.
        const CGate writer(m_demo.home() / "gate/1");
        CProcess annotation(lmshCommand(), script("create annotation \"A\" \"cg1\"\ncommit"),
                            m_demo.root("prod").string());
        ASSERT_TRUE(eventually([this] { return entriesIn(m_demo.home() / "annotations") == 1; }));
        EXPECT_EQ(m_demo.showGroup(), before);
        annotation.kill();
        EXPECT_EQ(annotation.wait().status, 128 + SIGKILL);
    }
    EXPECT_EQ(m_demo.showGroup(), before);
    EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 1U);
    m_demo.createAnnotation("B");
    EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 1U) << "what the killed one left is collected";
}

TEST_F(Content, AFreshLunIsZerosOfItsWholeSize)
{
    EXPECT_EQ(lun("lun1"), std::string(LUN_SIZE, '\0'));
}

TEST_F(Content, TheGateHoldsAWriteBack)
{
    const fs::path gate = m_demo.home() / "gate/1";
    const std::string before = lun("lun1");
    auto other = std::make_optional<CGate>(gate);
    const std::string tickets = contentOf(gate);
    std::vector<std::string> command = lmadmCommand();
    command.insert(command.end(),
                   {"--store", m_demo.store().string(), "write", "lun1", "--offset", "0", "--pattern", "w"});
    CProcess writer(command, "");
    ASSERT_TRUE(eventually([&] { return contentOf(gate) != tickets; })) << "it stands in the line";
    EXPECT_EQ(lun("lun1"), before);
    other.reset();
    EXPECT_EQ(writer.wait().status, 0);
    EXPECT_NE(lun("lun1"), before);
}

TEST_F(Content, AnAnnotationOfAGroupWhoseLunsChangedMeanwhileIsRefused)
{
    auto writer = std::make_optional<CGate>(m_demo.home() / "gate/1");
    CProcess annotation(lmshCommand(), script("create annotation \"A\" \"cg1\"\ncommit"), m_demo.root("prod").string());
    ASSERT_TRUE(eventually([this] { return entriesIn(m_demo.home() / "annotations") == 1; }));
    // Another LUN of the same name: only its number tells it from the one that was there.
    m_demo.lmadm({"lun", "unpresent", "lun2", "prod"});
    EXPECT_EQ(m_demo.lmadm({"lun", "delete", "lun2"}).status, 0);
    EXPECT_EQ(m_demo.lmadm({"lun", "create", "lun2", "--group", "cg1", "--size", "256KiB"}).status, 0);
    writer.reset();
    const SResult result = annotation.wait();
    EXPECT_EQ(result.status, 5);
    EXPECT_THAT(result.err, ElementsAre("lmsh: the LUNs of group \"cg1\" changed while annotation \"A\" was made; "
                                        "try again"));
    EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 0U);
    m_demo.createAnnotation("A");
}

TEST_F(Content, ALunThatLostItsEndIsAFailure)
{
    const fs::path file = m_demo.home() / "dev/lun1";
    fs::resize_file(file, LUN_SIZE / 2);
    const SResult result = m_demo.lmadm({"read", "lun1"});
    EXPECT_EQ(result.status, 6);
    EXPECT_THAT(result.err, ElementsAre("lmadm: cannot read " + file.string() +
                                        ": Input/output error; check free space and "
                                        "access, then repeat the command"));
}

// A process that dies with half of the volumes copied.
void dieInTheMiddle(const fs::path& home, EArea area)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const CWorkFolder folder(home, area, removeAll);
        copyFile(home / "dev/lun1", folder.path() / "lun1", LUN_SIZE);
        ::raise(SIGKILL);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
}

TEST_F(Content, HalfACopyIsListedNowhereAndCollectedLater)
{
    m_demo.createAnnotation("A");
    m_demo.createTimeImage("T", "A", "backup");
    const Lines before = m_demo.showGroup();
    dieInTheMiddle(m_demo.home(), EArea::ANNOTATIONS);
    dieInTheMiddle(m_demo.home(), EArea::IMAGES);
    EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 2U);
    EXPECT_EQ(m_demo.showGroup(), before);
    EXPECT_EQ(m_demo.lmsh("delete timeimage \"T\" \"cg1\"").status, 0);
    EXPECT_EQ(m_demo.lmsh("delete annotation \"A\" \"cg1\"").status, 0);
    EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 0U);
    EXPECT_EQ(entriesIn(m_demo.home() / "images"), 0U);
}

TEST_F(Content, AFolderWithALivingOwnerIsLeftAlone)
{
    m_demo.createAnnotation("A");
    const CWorkFolder mine(m_demo.home(), EArea::ANNOTATIONS, removeAll);
    EXPECT_EQ(m_demo.lmsh("delete annotation \"A\" \"cg1\"").status, 0);
    EXPECT_TRUE(fs::exists(mine.path()));
    EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 1U);
}

TEST_F(Content, RunningOutOfSpaceLeavesNothingAndIsSaidInOneLine)
{
    m_demo.lmadm({"group", "create", "big"});
    m_demo.lmadm({"lun", "create", "lun3", "--group", "big", "--size", "32MiB"});
    // A limit on the size of files stands in for a full disk; the database stays below it.
    CProcess limited({"/bin/sh", "-c", "ulimit -f 16384; exec " LMSH_PATH},
                     script("create annotation \"A\" \"big\"\ncommit"), m_demo.root("prod").string());
    const SResult result = limited.wait();
    EXPECT_EQ(result.status, 6);
    ASSERT_EQ(result.err.size(), 1U);
    EXPECT_THAT(result.err[0], testing::MatchesRegex("lmsh: cannot write .*/lun3: File too large"));
    EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 0U);
}

TEST_F(Content, AListingThatCannotBeWrittenIsAFailure)
{
    CProcess full({"/bin/sh", "-c", "exec " LMSH_PATH " > /dev/full"}, script("list hosts"),
                  m_demo.root("prod").string());
    const SResult result = full.wait();
    EXPECT_EQ(result.status, 6);
    EXPECT_THAT(result.err, ElementsAre("lmsh: cannot write standard output: No space left on device"));
}

TEST(FilesEngine, FixesImagesAndDrops)
{
    const CTemporaryFolder folder;
    const fs::path content = folder.path() / "content";
    const fs::path image = folder.path() / "image";
    fs::create_directories(content);
    fs::create_directories(image);
    fs::create_directories(folder.path() / "dev");
    writeFile(folder.path() / "dev/lun", "data");
    const std::vector<SVolume> volumes = {{1, "lun", 4}};
    CFilesEngine engine(folder.path());
    engine.fixContent(volumes, folder.path() / "gate", content);
    writeFile(folder.path() / "dev/lun", "DATA");
    engine.makeImage(volumes, content, image);
    EXPECT_EQ(contentOf(image / "dev/lun"), "data");
    engine.dropContent(content);
    engine.dropContent(content);
    EXPECT_FALSE(fs::exists(content));
    EXPECT_EQ(contentOf(image / "dev/lun"), "data");
    engine.dropImage(image);
    EXPECT_FALSE(fs::exists(image));
    EXPECT_THROW(engine.makeImage(volumes, content, folder.path() / "other"), EApplianceError);
}

}  // namespace

}  // namespace lumora::test
