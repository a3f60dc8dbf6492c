// Devices of the kernel's driver rbd, whose files and program are recorded ones: what is asked of them, and what is
// taken for a LUN.
#include "appliance/core/engines/daemon/rbd_attachment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "appliance/core/conventions/error.h"
#include "appliance/tests/recorded_kernel.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t SIZE = 4096;

class RbdAttachment : public testing::Test
{
  protected:
    RbdAttachment()
    {
        m_recorded.putRbd(SIZE);
        fs::create_directories(m_recorded.folder() / "ceph");
    }

    CRbdAttachment rbd(std::chrono::milliseconds patience = CRbdAttachment::PATIENCE) const
    {
        return CRbdAttachment({"images", "cdp-1", "appliance", "/etc/ceph/ceph.conf", m_recorded.folder() / "ceph",
                               m_recorded.folder() / "log", m_recorded.folder() / "dev-links"},
                              m_recorded.kernel(), patience);
    }
    SHostDevice lun(const std::string& image = "v1") const
    {
        return {m_recorded.folder() / "dev-links" / ("lun-" + image), image, SIZE};
    }
    std::string dev(const std::string& device) const { return (m_recorded.kernel().dev / device).string(); }
    static std::string mapWords(const std::string& image)
    {
        return "rbd --conf /etc/ceph/ceph.conf --id appliance device map images/cdp-1/" + image;
    }
    std::string unmapWords(const std::string& device) const
    {
        return "rbd --conf /etc/ceph/ceph.conf --id appliance device unmap -o force " + dev(device);
    }
    // What somebody mapped to rbd<number>, whose file of /sys then says something else.
    void showOf(int number, const std::string& file, const std::string& text) const
    {
        writeFile(m_recorded.kernel().sys / "bus/rbd/devices" / std::to_string(number) / file, text + "\n");
    }
    void expectFailure(const CRbdAttachment& attachment, EStatus status, const std::string& text) const
    {
        try {
            attachment.attachAll({lun()});
            ADD_FAILURE() << "attached";
        } catch (const EApplianceError& error) {
            EXPECT_EQ(error.status(), status);
            EXPECT_EQ(std::string(error.what()), text);
        }
        EXPECT_FALSE(attachment.isAttached(lun()));
    }

    const CRecordedKernel m_recorded;
};

TEST_F(RbdAttachment, ALunIsALinkToTheDeviceThatShowsItsImage)
{
    rbd().attachAll({lun("v1"), lun("v2")});
    EXPECT_EQ(m_recorded.words(), Lines({mapWords("v1"), mapWords("v2")}));
    EXPECT_EQ(fs::read_symlink(lun("v1").path), dev("rbd0"));
    EXPECT_EQ(fs::read_symlink(lun("v2").path), dev("rbd1"));
    EXPECT_TRUE(rbd().isAttached(lun("v1")));
    EXPECT_TRUE(rbd().isAttached(lun("v2")));
    EXPECT_THAT(rbd().mapped(), testing::UnorderedElementsAre("v1", "v2"));
}

TEST_F(RbdAttachment, AnImageThatIsMappedAlreadyGetsItsLink)
{
    rbd().attachAll({lun()});
    fs::remove(lun().path);
    rbd().attachAll({lun()});
    EXPECT_EQ(m_recorded.words(), Lines({mapWords("v1")}));
    EXPECT_TRUE(rbd().isAttached(lun()));
}

TEST_F(RbdAttachment, ADeviceOfAnythingElseIsNoLun)
{
    rbd().attachAll({lun()});
    const std::vector<std::pair<std::string, std::string>> others = {
        {"pool", "other"}, {"pool_ns", "cdp-2"}, {"name", "v2"}, {"current_snap", "snap"}};
    for (const auto& [file, text] : others) {
        const fs::path path = m_recorded.kernel().sys / "bus/rbd/devices/0" / file;
        const std::string before = contentOf(path);
        showOf(0, file, text);
        EXPECT_FALSE(rbd().isAttached(lun())) << file;
        writeFile(path, before);
        EXPECT_TRUE(rbd().isAttached(lun())) << file;
    }
    writeFile(m_recorded.kernel().sys / "block/rbd0/size", "9\n");
    EXPECT_FALSE(rbd().isAttached(lun()));
}

TEST_F(RbdAttachment, ADeviceThatTakesNoWritesIsNoLun)
{
    rbd().attachAll({lun()});
    writeFile(m_recorded.kernel().sys / "block/rbd0/ro", "1\n");
    EXPECT_FALSE(rbd().isAttached(lun()));
    rbd().attachAll({lun()});
    EXPECT_EQ(fs::read_symlink(lun().path), dev("rbd1"));
}

TEST_F(RbdAttachment, ALinkToAnotherImageIsReplacedAndItsDeviceLeftAlone)
{
    rbd().attachAll({lun()});
    showOf(0, "pool_ns", "cdp-2");
    rbd().attachAll({lun()});
    EXPECT_EQ(m_recorded.words(), Lines({mapWords("v1"), mapWords("v1")}));
    EXPECT_EQ(fs::read_symlink(lun().path), dev("rbd1"));
}

TEST_F(RbdAttachment, DetachUnmapsAndRemovesTheLink)
{
    rbd().attachAll({lun("v1"), lun("v2")});
    rbd().detach(lun("v1").path);
    rbd().detach(lun("v1").path);
    EXPECT_EQ(m_recorded.words(), Lines({mapWords("v1"), mapWords("v2"), unmapWords("rbd0")}));
    EXPECT_FALSE(fs::is_symlink(lun("v1").path));
    EXPECT_TRUE(rbd().isAttached(lun("v2")));
}

TEST_F(RbdAttachment, DetachOfWhatIsAnothersOnlyRemovesTheLink)
{
    rbd().attachAll({lun()});
    showOf(0, "pool", "other");
    rbd().detach(lun().path);
    EXPECT_EQ(m_recorded.words(), Lines({mapWords("v1")}));
    EXPECT_FALSE(fs::is_symlink(lun().path));
}

TEST_F(RbdAttachment, WhatIsPresentedInAnotherWayIsLeftAlone)
{
    writeFile(lun().path, "content");
    rbd().detach(lun().path);
    EXPECT_EQ(contentOf(lun().path), "content");
    EXPECT_FALSE(rbd().isAttached(lun()));
}

TEST_F(RbdAttachment, AnImageIsUnmappedWithItsLinksOrWithoutAny)
{
    rbd().attachAll({lun("v1"), lun("v2")});
    fs::remove(lun("v1").path);
    rbd().unmap("v1");
    rbd().unmap("v2");
    rbd().unmap("v3");
    EXPECT_EQ(m_recorded.words(), Lines({mapWords("v1"), mapWords("v2"), unmapWords("rbd0"), unmapWords("rbd1")}));
    EXPECT_FALSE(fs::is_symlink(lun("v2").path));
}

TEST_F(RbdAttachment, AnImageThatNeverShowsIsGivenUp)
{
    m_recorded.putProgram("rbd", "");
    expectFailure(rbd(std::chrono::seconds(2)), EStatus::STORAGE,
                  "cannot attach " + lun().path.string() + ": its image does not show its size in time");
}

TEST_F(RbdAttachment, AnImageOfAnotherSizeIsGivenUpAndUnmapped)
{
    SHostDevice larger = lun();
    larger.size = SIZE * 2;
    EXPECT_THROW(rbd(std::chrono::seconds(3)).attachAll({larger}), EApplianceError);
    EXPECT_EQ(m_recorded.words(), Lines({mapWords("v1"), unmapWords("rbd0")}));
    EXPECT_FALSE(fs::is_symlink(lun().path));
}

TEST_F(RbdAttachment, WhatTheProgramSaidIsTold)
{
    m_recorded.putProgram("rbd", "echo 'rbd: sysfs write failed'\nexit 6\n");
    expectFailure(rbd(), EStatus::STORAGE, "rbd failed: rbd: sysfs write failed");
}

TEST_F(RbdAttachment, AMissingProgramIsNamedWithItsPackage)
{
    const base_test::CEnvironmentValue path("PATH", "/nowhere");
    expectFailure(rbd(), EStatus::UNUSABLE, "ATTACH=rbd needs the program rbd: install the package ceph-common");
}

}  // namespace
}  // namespace lumora::test
