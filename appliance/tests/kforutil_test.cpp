// kforutil: what a host sees, and when.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using testing::ElementsAre;

const std::string rule(122, '=');

class Kforutil : public testing::Test
{
  protected:
    Lines disks(const std::string& host) const { return normalised(m_demo.kforutil(host, "listdisk").out); }
    size_t diskCount(const std::string& host) const
    {
        const Lines lines = disks(host);
        return lines.size() > 3 ? lines.size() - 3 : 0;
    }
    void discover(const std::string& host) const { EXPECT_EQ(m_demo.kforutil(host, "discover").status, 0); }
    // Makes the time image T of the annotation A, and lets the host see it.
    void showTimeImageToBackup() const
    {
        m_demo.createAnnotation("A");
        m_demo.createTimeImage("T", "A", "backup");
        discover("backup");
    }
    void update(const std::string& commands) const { EXPECT_EQ(m_demo.lmsh(commands).status, 0); }

    CDemoStore m_demo;
};

TEST_F(Kforutil, ListsPresentedLuns)
{
    const std::string devices = (m_demo.home() / "dev").string();
    EXPECT_THAT(disks("prod"), ElementsAre("Disks of host prod", "Device (Vendor) (Type) (Size) (Serial) State Access",
                                           rule, devices + "/lun1 (LUMORA) (VDISK) (256KiB) (SERIAL) online rw",
                                           devices + "/lun2 (LUMORA) (VDISK) (256KiB) (SERIAL) online rw"));
    m_demo.lmadm({"lun", "unpresent", "lun1", "prod"});
    EXPECT_EQ(diskCount("prod"), 1U);
}

TEST_F(Kforutil, ListsDisksInTheOrderOfTheirPaths)
{
    m_demo.lmadm({"lun", "create", "lun0", "--group", "cg1", "--size", "4KiB"});
    m_demo.lmadm({"lun", "present", "lun0", "prod"});
    const Lines listing = disks("prod");
    ASSERT_EQ(listing.size(), 6U);
    EXPECT_THAT(listing[3], testing::HasSubstr("/dev/lun0 "));
    EXPECT_THAT(listing[4], testing::HasSubstr("/dev/lun1 "));
    EXPECT_THAT(listing[5], testing::HasSubstr("/dev/lun2 "));
}

TEST_F(Kforutil, SaysInOneLineThatThereAreNoDisks)
{
    const SResult result = m_demo.kforutil("backup", "listdisk");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, ElementsAre("Host \"backup\" has no disks."));
}

TEST_F(Kforutil, ShowsATimeImageAfterGrantAndDiscover)
{
    m_demo.createAnnotation("A");
    m_demo.createTimeImage("T", "A", "backup");
    EXPECT_EQ(diskCount("backup"), 0U);
    EXPECT_THAT(m_demo.kforutil("backup", "discover").out, ElementsAre("2 disks for host backup"));
    const std::string image = (m_demo.home() / "images/ID/dev").string();
    EXPECT_THAT(disks("backup"),
                ElementsAre("Disks of host backup", "Device (Vendor) (Type) (Size) (Serial) State Access", rule,
                            image + "/lun1 (LUMORA) (VDISK) (256KiB) (SERIAL) online rw",
                            image + "/lun2 (LUMORA) (VDISK) (256KiB) (SERIAL) online rw"));
    discover("prod");
    EXPECT_EQ(diskCount("prod"), 2U);
}

TEST_F(Kforutil, SerialsAreThoseOfTheTimeImageListing)
{
    showTimeImageToBackup();
    const Lines image = m_demo.lmsh("show timeimage \"T\" \"cg1\"").out;
    const Lines listing = m_demo.kforutil("backup", "listdisk").out;
    const std::string serial = image.back().substr(image.back().find('[') + 1, 16);
    EXPECT_THAT(listing.back(), testing::HasSubstr("(" + serial + ")"));
}

TEST_F(Kforutil, ACopyHasAnotherSerialThanItsSource)
{
    showTimeImageToBackup();
    const auto serialOf = [](const std::string& line) { return line.substr(line.rfind('(')); };
    const Lines sources = m_demo.kforutil("prod", "listdisk").out;
    const Lines copies = m_demo.kforutil("backup", "listdisk").out;
    EXPECT_NE(serialOf(copies[3]), serialOf(sources[3]));
    EXPECT_NE(serialOf(copies[4]), serialOf(sources[4]));
    EXPECT_NE(serialOf(copies[3]), serialOf(copies[4]));
}

TEST_F(Kforutil, ForgetsATimeImageThatIsGone)
{
    showTimeImageToBackup();
    update("delete timeimage \"T\" \"cg1\"");
    EXPECT_EQ(diskCount("backup"), 0U);
}

TEST_F(Kforutil, NeedsANewDiscoverAfterAGrantWasWithdrawnAndGivenAgain)
{
    showTimeImageToBackup();
    update("update timeimage \"T\" \"cg1\"\ndelete permission \"backup\"\ncommit");
    EXPECT_EQ(diskCount("backup"), 0U);
    discover("backup");
    EXPECT_EQ(diskCount("backup"), 0U);
    update("update timeimage \"T\" \"cg1\"\nadd permission \"backup\"\ncommit");
    EXPECT_EQ(diskCount("backup"), 0U);
    discover("backup");
    EXPECT_EQ(diskCount("backup"), 2U);
}

TEST_F(Kforutil, NeedsANewDiscoverAfterTheGroupsGrantWasWithdrawnAndGivenAgain)
{
    showTimeImageToBackup();
    update("update timeimage \"cg1\"\ndelete permission \"backup\"\ncommit");
    update("update timeimage \"cg1\"\nadd permission \"backup\"\ncommit");
    EXPECT_EQ(diskCount("backup"), 0U);
    discover("backup");
    EXPECT_EQ(diskCount("backup"), 2U);
}

TEST_F(Kforutil, AGrantOfTheGroupCoversItsTimeImages)
{
    m_demo.createAnnotation("A");
    update("create timeimage \"T\" \"cg1\"\nuse annotation \"A\"\ncommit");
    discover("backup");
    EXPECT_EQ(diskCount("backup"), 0U);
    update("update timeimage \"cg1\"\nadd permission \"backup\"\ncommit");
    discover("backup");
    EXPECT_EQ(diskCount("backup"), 2U);
}

TEST_F(Kforutil, WithdrawingAHostFromTheGroupTakesItsTimeImagesToo)
{
    showTimeImageToBackup();
    update("update timeimage \"cg1\"\ndelete permission \"backup\"\ncommit");
    discover("backup");
    EXPECT_EQ(diskCount("backup"), 0U);
}

TEST_F(Kforutil, DiscoverOfAHostThatNobodyKnowsIsAnError)
{
    writeFile(m_demo.root("backup") / "etc/qz/appliance.conf",
              "STORE=" + m_demo.store().string() + "\nHOST=stranger\n");
    const SResult result = m_demo.kforutil("backup", "discover");
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, ElementsAre("kforutil: host \"stranger\" does not exist on any appliance; create it with "
                                        "lmadm host create"));
    EXPECT_EQ(m_demo.kforutil("backup", "listdisk").status, 0);
}

TEST_F(Kforutil, RefusesOtherWords)
{
    EXPECT_EQ(m_demo.kforutil("prod", "--help").status, 0);
    const SResult result = m_demo.kforutil("prod", "format");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.back(), "kforutil: one word expected: discover or listdisk; see kforutil --help");
}

}  // namespace

}  // namespace lumora::test
