// Devices of the kernel's driver nbd, whose files and program are recorded ones: what is asked of them, what is taken
// for a disk, and what is left alone.
#include "appliance/core/engines/daemon/nbd_attachment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/attach_way.h"
#include "appliance/core/engines/daemon/programs.h"
#include "appliance/tests/recorded_kernel.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr uint64_t SIZE = 4096;

// What lmadm adds to each store that it cannot use.
const std::string HINT =
    "; name the right folder with --store, or create a store: lmadm --store DIR appliance create NAME";

class NbdAttachment : public testing::Test
{
  protected:
    NbdAttachment()
    {
        m_recorded.putNbdClient(SIZE);
        for (const char* const device : {"nbd0", "nbd1", "nbd10", "sda"}) {
            disconnect(device);
            writeFile(m_recorded.kernel().dev / device, "");
        }
    }

    CNbdAttachment nbd(std::chrono::milliseconds patience = CNbdAttachment::PATIENCE) const
    {
        return CNbdAttachment(place(), m_recorded.kernel(), patience);
    }
    SExportPlace place() const { return {m_recorded.folder() / "qsd", socket(), m_recorded.folder() / "log"}; }
    fs::path socket() const { return m_recorded.folder() / "qsd/nbd"; }
    SHostDevice lun(const std::string& name = "lun1") const
    {
        return {m_recorded.folder() / "home/dev" / name, "v-" + name, SIZE};
    }
    fs::path sys(const std::string& device) const { return m_recorded.kernel().sys / "block" / device; }
    fs::path note(const std::string& device) const { return m_recorded.folder() / "qsd/nbd-devices" / device; }
    std::string dev(const std::string& device) const { return (m_recorded.kernel().dev / device).string(); }
    void disconnect(const std::string& device) const
    {
        writeFile(sys(device) / "size", "0\n");
        fs::remove(sys(device) / "pid");
    }
    void connect(const std::string& device, const std::string& pid) const
    {
        writeFile(sys(device) / "size", "8\n");
        writeFile(sys(device) / "pid", pid + "\n");
    }
    void changeNote(const std::string& device, const std::string& key, const std::string& value) const
    {
        nlohmann::json json = nlohmann::json::parse(contentOf(note(device)));
        json[key] = value;
        writeFile(note(device), json.dump());
    }
    std::string connectWords(const std::string& device, const std::string& name = "lun1") const
    {
        return "nbd-client -u " + socket().string() + " -N v-" + name + " -persist -nonetlink " + dev(device);
    }
    std::string disconnectWords(const std::string& device) const { return "nbd-client -d " + dev(device); }

    // A client that waits for its daemon: the kernel does not name it for its device meanwhile.
    pid_t startClient(const std::string& name) const
    {
        const pid_t client =
            startProgram({"perl", "-e", "sleep 600", "--", "-u", socket().string(), "-N", name, "-persist"},
                         m_recorded.folder() / "log");
        // Until it is that program, its words are those of this one.
        const std::string words = "/proc/" + std::to_string(client) + "/cmdline";
        while (contentOf(words).find("-persist") == std::string::npos) {
            std::this_thread::yield();
        }
        return client;
    }

    void expectFailure(const CNbdAttachment& attachment, EStatus status, const std::string& text) const
    {
        try {
            attachment.attachAll({lun()});
            ADD_FAILURE() << "attached";
        } catch (const EApplianceError& error) {
            EXPECT_EQ(error.status(), status);
            EXPECT_EQ(std::string(error.what()), text);
        }
        EXPECT_FALSE(fs::is_symlink(lun().path));
        EXPECT_FALSE(attachment.isAttached(lun()));
    }
    std::string cannot(const std::string& why) const { return "cannot attach " + lun().path.string() + ": " + why; }

    const CRecordedKernel m_recorded;
};

TEST_F(NbdAttachment, ADeviceIsALinkToTheOneThatTheKernelConnected)
{
    connect("nbd0", "17");
    nbd().attachAll({lun("lun1"), lun("lun2")});
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd1"), connectWords("nbd10", "lun2")}));
    EXPECT_EQ(fs::read_symlink(lun("lun1").path), dev("nbd1"));
    EXPECT_EQ(fs::read_symlink(lun("lun2").path), dev("nbd10"));
    EXPECT_TRUE(nbd().isAttached(lun("lun1")));
    EXPECT_TRUE(nbd().isAttached(lun("lun2")));
}

TEST_F(NbdAttachment, ADeviceOfAnotherSizeOrExportIsNotAttached)
{
    nbd().attachAll({lun()});
    SHostDevice other = lun();
    other.size = SIZE * 2;
    EXPECT_FALSE(nbd().isAttached(other));
    other = lun();
    other.name = "v-lun2";
    EXPECT_FALSE(nbd().isAttached(other));
    writeFile(sys("nbd0") / "size", "9\n");
    EXPECT_FALSE(nbd().isAttached(lun()));
}

TEST_F(NbdAttachment, WhatIsLeftAtThePathIsReplaced)
{
    writeFile(lun().path, "");
    nbd().attachAll({lun()});
    EXPECT_TRUE(nbd().isAttached(lun()));
    EXPECT_EQ(fs::read_symlink(lun().path), dev("nbd0"));
}

TEST_F(NbdAttachment, ADeviceThatSomebodyTakesFirstIsPassedOver)
{
    writeFile(m_recorded.folder() / "taken", "nbd0\n");
    nbd().attachAll({lun()});
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), connectWords("nbd1")}));
    EXPECT_EQ(fs::read_symlink(lun().path), dev("nbd1"));
    EXPECT_EQ(contentOf(sys("nbd0") / "pid"), "1\n");
}

TEST_F(NbdAttachment, WithoutAFreeDeviceNothingIsAttached)
{
    for (const char* const device : {"nbd0", "nbd1", "nbd10"}) {
        connect(device, "17");
    }
    expectFailure(nbd(), EStatus::STORAGE, cannot("each of the 3 nbd devices is taken"));
    EXPECT_EQ(m_recorded.words(), Lines());
}

TEST_F(NbdAttachment, WhatTheProgramSaidIsTold)
{
    writeFile(m_recorded.folder() / "taken", "nbd0\nnbd1\nnbd10\n");
    expectFailure(nbd(), EStatus::STORAGE, cannot("nbd-client failed: " + dev("nbd10") + " is busy"));
}

TEST_F(NbdAttachment, AKernelWithoutTheDriverIsToldOf)
{
    fs::remove_all(m_recorded.kernel().sys);
    expectFailure(nbd(), EStatus::STORAGE, cannot("the kernel has no nbd devices; load its module nbd"));
}

TEST_F(NbdAttachment, ADeviceThatNeverShowsItsSizeIsGivenUpAndDisconnected)
{
    m_recorded.putProgram("nbd-client", "echo $$ >$sys/block/nbd0/pid\n");
    expectFailure(nbd(std::chrono::seconds(3)), EStatus::STORAGE,
                  cannot(dev("nbd0") + " does not show its size in time"));
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), disconnectWords("nbd0")}));
    EXPECT_FALSE(fs::exists(note("nbd0")));
}

TEST_F(NbdAttachment, ADeviceThatShowsAnotherSizeIsGivenUp)
{
    m_recorded.putProgram("nbd-client", "echo 9 >$sys/block/nbd0/size\necho $$ >$sys/block/nbd0/pid\n");
    expectFailure(nbd(std::chrono::seconds(3)), EStatus::STORAGE,
                  cannot(dev("nbd0") + " does not show its size in time"));
}

TEST_F(NbdAttachment, AMissingProgramIsNamedWithItsPackage)
{
    const base_test::CEnvironmentValue path("PATH", "/nowhere");
    expectFailure(nbd(), EStatus::UNUSABLE, "ATTACH=nbd needs the program nbd-client: install the package nbd-client");
}

TEST_F(NbdAttachment, DetachDisconnectsAndLeavesNothing)
{
    nbd().attachAll({lun("lun1"), lun("lun2")});
    nbd().detach(lun("lun1").path);
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), connectWords("nbd1", "lun2"), disconnectWords("nbd0")}));
    EXPECT_FALSE(fs::is_symlink(lun("lun1").path));
    EXPECT_FALSE(fs::exists(note("nbd0")));
    EXPECT_TRUE(nbd().isAttached(lun("lun2")));
}

TEST_F(NbdAttachment, DetachOfOneThatIsGoneDisconnectsNothing)
{
    nbd().attachAll({lun()});
    disconnect("nbd0");
    EXPECT_FALSE(nbd().isAttached(lun()));
    nbd().detach(lun().path);
    nbd().detach(lun().path);
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0")}));
    EXPECT_FALSE(fs::is_symlink(lun().path));
    EXPECT_FALSE(fs::exists(note("nbd0")));
}

TEST_F(NbdAttachment, ADisconnectionThatFailsKeepsLinkAndNote)
{
    nbd().attachAll({lun()});
    m_recorded.putProgram("nbd-client", "echo 'no right to'\nexit 1\n");
    try {
        nbd().detach(lun().path);
        ADD_FAILURE() << "detached";
    } catch (const EApplianceError& error) {
        EXPECT_EQ(std::string(error.what()), "nbd-client failed: no right to");
    }
    EXPECT_TRUE(nbd().isAttached(lun()));
}

TEST_F(NbdAttachment, ALinkOfAnotherStartOfTheMachineIsNoDisk)
{
    nbd().attachAll({lun()});
    changeNote("nbd0", "boot", "another");
    EXPECT_FALSE(nbd().isAttached(lun()));
    nbd().attachAll({lun()});
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), connectWords("nbd1")}));  // nbd0 may be anybody's now
    EXPECT_EQ(fs::read_symlink(lun().path), dev("nbd1"));
    EXPECT_FALSE(fs::exists(note("nbd0")));
}

TEST_F(NbdAttachment, ADeviceThatAnotherProcessHasConnectedIsLeftToIt)
{
    nbd().attachAll({lun()});
    connect("nbd0", "17");
    EXPECT_FALSE(nbd().isAttached(lun()));
    nbd().detach(lun().path);
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0")}));
    EXPECT_FALSE(fs::is_symlink(lun().path));
    EXPECT_EQ(contentOf(sys("nbd0") / "pid"), "17\n");
}

TEST_F(NbdAttachment, ALinkWithoutANoteIsNoDisk)
{
    nbd().attachAll({lun()});
    fs::remove(note("nbd0"));
    EXPECT_FALSE(nbd().isAttached(lun()));
    writeFile(note("nbd0"), "{\"path\": 1}");
    EXPECT_FALSE(nbd().isAttached(lun()));
    writeFile(note("nbd0"), "not written to its e");
    EXPECT_FALSE(nbd().isAttached(lun()));
    nbd().detach(lun().path);
    EXPECT_FALSE(fs::is_symlink(lun().path));
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0")}));
}

TEST_F(NbdAttachment, WhatSomebodyWasKilledOverIsTakenBack)
{
    nbd().attachAll({lun()});
    fs::remove(lun().path);  // as if the link was not made yet
    EXPECT_EQ(nbd().writtenDown(), std::vector<fs::path>({lun().path}));
    nbd().attachAll({lun()});
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), disconnectWords("nbd0"), connectWords("nbd0")}));
    EXPECT_TRUE(nbd().isAttached(lun()));
}

TEST_F(NbdAttachment, WhatSomebodyWasKilledOverWhileItWasConnectedIsTakenBack)
{
    nbd().attachAll({lun()});
    fs::remove(lun().path);
    changeNote("nbd0", "pid", "");  // as it is written before the client is started
    const pid_t client = startClient("v-lun1");
    connect("nbd0", std::to_string(client));
    EXPECT_EQ(nbd().writtenDown(), std::vector<fs::path>({lun().path}));
    nbd().detach(lun().path);
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), disconnectWords("nbd0")}));
    EXPECT_FALSE(fs::exists(note("nbd0")));
    ::kill(client, SIGKILL);
    ::waitpid(client, nullptr, 0);
}

TEST_F(NbdAttachment, ADeviceThatSomebodyElseConnectedAfterAKillIsLeftToIt)
{
    nbd().attachAll({lun()});
    fs::remove(lun().path);
    changeNote("nbd0", "pid", "");
    connect("nbd0", "1");
    nbd().detach(lun().path);
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0")}));
    EXPECT_FALSE(fs::exists(note("nbd0")));
    EXPECT_EQ(contentOf(sys("nbd0") / "pid"), "1\n");
}

TEST_F(NbdAttachment, TheNoteIsThereBeforeTheClientIs)
{
    m_recorded.putProgram("nbd-client", "cp -r $dev/../qsd/nbd-devices $dev/../seen\nexit 1\n");
    expectFailure(nbd(), EStatus::STORAGE, cannot("nbd-client failed"));
    const nlohmann::json seen = nlohmann::json::parse(contentOf(m_recorded.folder() / "seen/nbd0"));
    EXPECT_EQ(seen["path"], lun().path.string());
    EXPECT_EQ(seen["pid"], "");
    EXPECT_FALSE(fs::exists(note("nbd0"))) << "of a client that failed";
}

TEST_F(NbdAttachment, ADeviceWhoseClientWaitsForItsDaemonIsNoFreeOne)
{
    nbd().attachAll({lun("lun2")});
    const pid_t client = startClient("v-lun2");
    changeNote("nbd0", "pid", std::to_string(client));
    disconnect("nbd0");
    nbd().attachAll({lun()});
    EXPECT_EQ(fs::read_symlink(lun().path), dev("nbd1"));
    ::kill(client, SIGKILL);
    ::waitpid(client, nullptr, 0);
}

TEST_F(NbdAttachment, WhatIsPresentedInAnotherWayIsLeftAlone)
{
    writeFile(lun("file").path, "content");
    fs::create_symlink(m_recorded.kernel().dev / "sda", lun("disk").path);
    fs::create_symlink("/elsewhere/nbd0", lun("elsewhere").path);
    for (const char* const name : {"file", "disk", "elsewhere"}) {
        EXPECT_FALSE(nbd().isAttached(lun(name)));
        nbd().detach(lun(name).path);
        EXPECT_TRUE(fs::exists(fs::symlink_status(lun(name).path))) << name;
    }
}

TEST_F(NbdAttachment, ADeviceWhoseClientWaitsForItsDaemonIsWaitedFor)
{
    nbd().attachAll({lun()});
    const pid_t client = startClient("v-lun1");
    changeNote("nbd0", "pid", std::to_string(client));
    disconnect("nbd0");
    std::thread daemonComesBack([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        connect("nbd0", std::to_string(client));
    });
    nbd().attachAll({lun()});
    EXPECT_TRUE(nbd().isAttached(lun()));
    daemonComesBack.join();
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0")}));
    ::kill(client, SIGKILL);
    ::waitpid(client, nullptr, 0);
}

TEST_F(NbdAttachment, AClientThatDoesNotConnectAgainInTimeIsEndedAndItsDeviceReplaced)
{
    nbd().attachAll({lun()});
    const pid_t client = startClient("v-lun1");
    changeNote("nbd0", "pid", std::to_string(client));
    connect("nbd0", "17");  // by somebody else meanwhile
    nbd(std::chrono::seconds(3)).attachAll({lun()});
    int status = 0;
    ASSERT_EQ(::waitpid(client, &status, 0), client);
    EXPECT_EQ(fs::read_symlink(lun().path), dev("nbd1"));
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), connectWords("nbd1")}));
}

TEST_F(NbdAttachment, AClientThatWaitsForItsDaemonIsEndedWithItsDevice)
{
    nbd().attachAll({lun()});
    const pid_t client = startClient("v-lun1");
    changeNote("nbd0", "pid", std::to_string(client));
    disconnect("nbd0");
    EXPECT_FALSE(nbd().isAttached(lun()));
    nbd().detach(lun().path);
    int status = 0;
    ASSERT_EQ(::waitpid(client, &status, 0), client);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    EXPECT_FALSE(fs::is_symlink(lun().path));
}

TEST_F(NbdAttachment, AProcessThatHasGotTheNumberOfAClientIsLeftAlone)
{
    nbd().attachAll({lun()});
    const pid_t other = startClient("v-lun2");
    changeNote("nbd0", "pid", std::to_string(other));
    disconnect("nbd0");
    nbd().detach(lun().path);
    EXPECT_EQ(::kill(other, 0), 0);
    EXPECT_EQ(::waitpid(other, nullptr, WNOHANG), 0);
    ::kill(other, SIGKILL);
    ::waitpid(other, nullptr, 0);
}

TEST_F(NbdAttachment, WhatIsAttachedStaysWhenTheSettingChanges)
{
    const CAttachments before(EAttach::NBD, place(), m_recorded.kernel());
    before.attachAll({lun()});
    const CAttachments after(EAttach::FILE, place(), m_recorded.kernel());
    EXPECT_TRUE(after.isAttached(lun()));
    EXPECT_EQ(after.writtenDown(), std::vector<fs::path>({lun().path}));
    after.detach(lun().path);
    EXPECT_EQ(m_recorded.words(), Lines({connectWords("nbd0"), disconnectWords("nbd0")}));
    EXPECT_FALSE(fs::exists(fs::symlink_status(lun().path)));
}

TEST_F(NbdAttachment, AnEmptyFileThatAMountWasOverIsReplacedByALink)
{
    writeFile(lun().path, "");
    ::chmod(lun().path.c_str(), 0);
    const CAttachments attachments(EAttach::NBD, place(), m_recorded.kernel());
    EXPECT_FALSE(attachments.isAttached(lun()));
    attachments.attachAll({lun()});
    EXPECT_EQ(fs::read_symlink(lun().path), dev("nbd0"));
}

TEST_F(NbdAttachment, IsChosenWhereTheHostCanDoIt)
{
    const SHostKernel with = m_recorded.kernel();
    const SHostKernel without = {m_recorded.folder() / "none", m_recorded.folder() / "none"};
    EXPECT_EQ(attachOf(EAttach::AUTO, with, true), EAttach::NBD);
    EXPECT_EQ(attachOf(EAttach::AUTO, with, false), EAttach::FILE);
    EXPECT_EQ(attachOf(EAttach::AUTO, without, true), EAttach::FILE);
    EXPECT_EQ(attachOf(EAttach::FILE, with, true), EAttach::FILE);
    EXPECT_EQ(attachOf(EAttach::NBD, without, false), EAttach::NBD);
    {
        const base_test::CEnvironmentValue path("PATH", "/nowhere");
        EXPECT_EQ(attachOf(EAttach::AUTO, with, true), EAttach::FILE);
    }
    fs::remove(with.dev / "nbd0");  // as where a container is given /sys only
    EXPECT_EQ(attachOf(EAttach::AUTO, with, true), EAttach::FILE);
}

TEST(AttachSetting, IsOneOfItsWords)
{
    EXPECT_EQ(readAttach("/store", {}), EAttach::AUTO);
    EXPECT_EQ(readAttach("/store", {{"ATTACH", ""}}), EAttach::AUTO);
    EXPECT_EQ(readAttach("/store", {{"ATTACH", "auto"}}), EAttach::AUTO);
    EXPECT_EQ(readAttach("/store", {{"ATTACH", "file"}}), EAttach::FILE);
    EXPECT_EQ(readAttach("/store", {{"ATTACH", "nbd"}}), EAttach::NBD);
    EXPECT_EQ(readAttach("/store", {{"ATTACH", "rbd"}}), EAttach::RBD);
}

TEST(AttachSetting, AnotherWordIsRefusedWithKeyAndValue)
{
    const CDemoStore store;
    writeFile(store.store() / "etc/qz/appliance.conf", "ATTACH=NBD\n");
    store.expectRefusal(
        {"lun", "create", "lun3", "--group", "cg1", "--size", "1MiB"}, 7,
        "configuration of store " + store.store().string() + ": ATTACH \"NBD\" is none of auto, file, nbd, rbd" + HINT);
}

TEST(AttachSetting, RbdIsRefusedByAnEngineWithoutACluster)
{
    const CDemoStore store;
    writeFile(store.store() / "etc/qz/appliance.conf", "ATTACH=rbd\n");
    store.expectRefusal({"appliance", "create", "beta", "--engine", "qsd"}, 7,
                        "engine \"qsd\" cannot do ATTACH \"rbd\", which is for images of a cluster" + HINT);
    EXPECT_EQ(store.lmadm({"lun", "create", "lun3", "--group", "cg1", "--size", "1MiB"}).status, 0);
}

}  // namespace
}  // namespace lumora::test
