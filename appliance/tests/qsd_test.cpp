// The engine qsd: what hosts see of its LUNs, annotations and time images, and what it leaves on the machine.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "appliance/core/engines/daemon/storage_daemon.h"
#include "appliance/core/engines/qsd/qsd_engine.h"
#include "appliance/core/store/store.h"
#include "appliance/tests/qsd_store.h"
#include "appliance/tests/recorded_kernel.h"
#include "base/process_stat.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(Qsd, FixesWhatAnyProgramWrote)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    store.fill(store.lun("lun2"), 'b');
    store.createAnnotation("A");
    store.fill(store.lun("lun1"), 'c');
    store.fill(store.lun("lun2"), 'd');
    store.showImage("T", "A");
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'a');
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun2")), 'b');
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'c');
    EXPECT_EQ(store.filledWith(store.lun("lun2")), 'd');
}

TEST(Qsd, ImagesAreWrittenToWithoutTheLunOrEachOther)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    store.createAnnotation("A");
    store.showImage("T", "A");
    store.showImage("U", "A");
    store.fill(store.imageLun("T", "lun1"), 'x');
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'x');
    EXPECT_EQ(store.filledWith(store.imageLun("U", "lun1")), 'a');
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'a');
}

TEST(Qsd, AWriteThroughTheGateIsInAnAnnotationAsAWhole)
{
    const CQsdStore store;
    EXPECT_EQ(store.lmadm({"write", "lun1", "--offset", "0", "--pattern", "a"}).status, 0);
    store.createAnnotation("A");
    store.showImage("T", "A");
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'a');
}

TEST(Qsd, ALunBeginsWithAFile)
{
    const CQsdStore store;
    const std::string content(100000, 'f');  // not of whole sectors
    writeFile(store.folder() / "content", content);
    const SResult made = store.lmadm(
        {"lun", "create", "lun3", "--group", "cg1", "--size", "1MiB", "--file", (store.folder() / "content").string()});
    EXPECT_EQ(made.status, 0) << testing::PrintToString(made.err);
    const std::string read = contentOf(store.lun("lun3"));
    EXPECT_EQ(read.size(), size_t{1} << 20U);
    EXPECT_EQ(read.substr(0, content.size()), content);
    EXPECT_EQ(read.find_first_not_of('\0', content.size()), std::string::npos);
}

TEST(Qsd, LayersThatNobodyNeedsAreMerged)
{
    const CQsdStore store;
    store.createAnnotation("first");
    for (const char content : std::string("abcdefgh")) {
        store.fill(store.lun("lun1"), content);
        store.createAnnotation("A");
        if (content == 'c') store.createAnnotation("kept");
        store.expectDone("delete annotation \"A\" \"cg1\"");
    }
    // Of each LUN: what "first" shows, what "kept" shows, the last one of A, and what is written to.
    EXPECT_EQ(store.layers(), 8U);
    store.showImage("T", "kept");
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'c');
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'h');
    store.expectDone("delete annotation \"first\" \"cg1\"");
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'c');
    store.expectDone("delete timeimage \"T\" \"cg1\"\ndelete annotation \"kept\" \"cg1\"");
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'h');
    EXPECT_EQ(store.layers(), 4U);
}

TEST(Qsd, AnImageStaysWhatItIsWhileLayersBelowItAreMergedAndTheDaemonStartsAnew)
{
    const CQsdStore store;
    for (const char content : std::string("abc")) {
        store.fill(store.lun("lun1"), content);
        store.createAnnotation(std::string(1, content));
    }
    store.showImage("T", "b");
    store.expectDone("delete annotation \"a\" \"cg1\"");  // b's layer goes into a's file
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'b');
    EXPECT_EQ(store.lmadm({"appliance", "stop", "alpha"}).status, 0);
    EXPECT_EQ(store.kforutil("backup", "discover").status, 0);
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'b');
}

TEST(Qsd, ADeviceThatIsNotAttachedIsNoDisk)
{
    const CQsdStore store;
    const Lines attached = store.kforutil("prod", "listdisk").out;
    EXPECT_EQ(attached.size(), 5U);
    store.fill(store.lun("lun1"), 'a');
    CProcess away({"/usr/bin/env", "fusermount3", "-u", store.lun("lun1").string()}, "");
    ASSERT_EQ(away.wait().status, 0);
    struct stat below = {};
    ASSERT_EQ(::stat(store.lun("lun1").c_str(), &below), 0);
    EXPECT_EQ(below.st_size, 0);
    EXPECT_EQ(below.st_mode & 07777U, 0U);  // nothing is written beside the mount
    EXPECT_EQ(store.kforutil("prod", "listdisk").out.size(), 4U);
    EXPECT_EQ(store.kforutil("prod", "discover").out, Lines({"2 disks for host prod"}));
    EXPECT_EQ(store.kforutil("prod", "listdisk").out, attached);
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'a');
}

TEST(Qsd, WithTheKernelsDriverADeviceIsALinkUntilTheApplianceIsStopped)
{
    const CQsdStore store;
    EXPECT_EQ(store.lmadm({"appliance", "stop", "alpha"}).status, 0);
    const uint64_t size = 262144;
    const CRecordedKernel recorded;
    recorded.putNbdClient(size);
    writeFile(recorded.kernel().sys / "block/nbd0/size", "0\n");
    CStore opened(store.store(), CStore::EMode::EXISTING);
    CQsdEngine engine(store.store(), store.home(), EAttach::NBD, opened.database(), recorded.kernel());
    const SDevice device = {{1, "lun1", size, 1}, "", store.lun("lun1"), ""};
    engine.attach({device});
    engine.attach({device});
    EXPECT_TRUE(engine.isAttached(device));
    EXPECT_EQ(fs::read_symlink(device.path), recorded.kernel().dev / "nbd0");
    engine.stop();
    EXPECT_FALSE(engine.isAttached(device));
    EXPECT_EQ(entriesIn(store.home() / "dev"), 0U);
    const std::string nbd = (recorded.kernel().dev / "nbd0").string();
    EXPECT_EQ(recorded.words(),
              Lines({"nbd-client -u " + (store.home() / "qsd/nbd").string() + " -N v1 -persist -nonetlink " + nbd,
                     "nbd-client -d " + nbd}));
}

TEST(Qsd, AMountWhoseProgramWasKilledIsMadeAnew)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    CProcess killer({"/usr/bin/env", "pkill", "-9", "-f", "^nbdfuse " + store.lun("lun1").string() + " "}, "");
    ASSERT_EQ(killer.wait().status, 0);
    EXPECT_TRUE(eventually([&] { return store.kforutil("prod", "listdisk").out.size() == 4U; }));
    EXPECT_EQ(store.kforutil("prod", "discover").status, 0);
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'a');
}

// Somebody may remove its folder next.
TEST(Qsd, NobodyIsAtWorkForAnApplianceThatWasStopped)
{
    const CQsdStore store;
    const CStorageDaemon daemon(store.home() / "qsd");
    for (int round = 0; round < 5; ++round) {
        EXPECT_TRUE(eventually([&] { return daemon.isKept(); }));
        EXPECT_EQ(store.lmadm({"appliance", "stop", "alpha"}).status, 0);
        EXPECT_FALSE(daemon.isKept());
        EXPECT_EQ(store.kforutil("prod", "discover").status, 0);
    }
}

TEST(Qsd, AServiceKeepsAnApplianceThatWasStopped)
{
    const CQsdStore store;
    const CStorageDaemon daemon(store.home() / "qsd");
    EXPECT_EQ(store.lmadm({"appliance", "stop", "alpha"}).status, 0);
    EXPECT_EQ(store.lmadm({"appliance", "keep", "alpha", "--unless-stopped"}).status, 0);
    EXPECT_FALSE(daemon.isReady());
    CProcess service({LMADM_PATH, "--store", store.store().string(), "appliance", "keep", "alpha"}, "");
    EXPECT_TRUE(eventually([&] { return daemon.isReady(); }));
    EXPECT_EQ(store.lmadm({"appliance", "stop", "alpha"}).status, 0);
    EXPECT_EQ(service.wait().status, 0);
    EXPECT_FALSE(daemon.isReady());
}

TEST(Qsd, AnApplianceThatWasStoppedGoesOnWithTheNextLook)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    const pid_t daemon = store.daemon();
    EXPECT_EQ(store.lmadm({"appliance", "stop", "alpha"}).out, Lines({"stopped: alpha"}));
    EXPECT_TRUE(base::readProcessStat(daemon)->isGone());
    EXPECT_EQ(entriesIn(store.home() / "dev"), 0U);
    EXPECT_EQ(store.kforutil("prod", "listdisk").out, Lines({"Host \"prod\" has no disks."}));
    EXPECT_EQ(store.kforutil("prod", "discover").status, 0);
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'a');
}

TEST(Qsd, ALunThatIsDeletedLeavesNothing)
{
    const CQsdStore store;
    EXPECT_EQ(store.lmadm({"lun", "delete", "lun2"}).status, 0);
    EXPECT_FALSE(fs::exists(store.lun("lun2")));
    EXPECT_EQ(store.layers(), 1U);
    store.createAnnotation("A");
    EXPECT_EQ(store.lmadm({"lun", "create", "lun2", "--group", "cg1", "--size", "1MiB"}).status, 0);
    EXPECT_EQ(fs::file_size(store.lun("lun2")), uint64_t{1} << 20U);
}

TEST(Qsd, AnApplianceThatIsDeletedEndsItsDaemon)
{
    const CQsdStore store;
    EXPECT_EQ(store.lmadm({"appliance", "create", "beta", "--engine", "qsd"}).status, 0);
    EXPECT_EQ(store.lmadm({"--appliance", "beta", "group", "create", "g"}).status, 0);
    EXPECT_EQ(store.lmadm({"--appliance", "beta", "lun", "create", "l", "--group", "g", "--size", "1MiB"}).status, 0);
    const fs::path folder = store.home().parent_path() / "beta";
    EXPECT_TRUE(fs::exists(folder / "qsd/pid"));
    EXPECT_EQ(store.lmadm({"--appliance", "beta", "lun", "delete", "l"}).status, 0);
    EXPECT_EQ(store.lmadm({"--appliance", "beta", "group", "delete", "g"}).status, 0);
    EXPECT_EQ(store.lmadm({"appliance", "delete", "beta"}).status, 0);
    EXPECT_FALSE(fs::exists(folder));
}

TEST(Qsd, AnApplianceMovesFromFilesAndBackWithItsData)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    const Lines disks = store.kforutil("prod", "listdisk").out;
    EXPECT_EQ(store.lmadm({"appliance", "migrate", "alpha", "--engine", "files"}).out,
              Lines({"name: alpha", "engine: files"}));
    EXPECT_EQ(store.kforutil("prod", "listdisk").out, disks);
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'a');
    EXPECT_EQ(store.layers(), 0U);
    EXPECT_FALSE(fs::exists(store.home() / "qsd/pid"));
    store.createAnnotation("A");
    EXPECT_EQ(store.lmsh("delete annotation \"A\" \"cg1\"").status, 0);
    store.fill(store.lun("lun1"), 'b');

    EXPECT_EQ(store.lmadm({"appliance", "migrate", "alpha", "--engine", "qsd"}).status, 0);
    EXPECT_EQ(store.kforutil("prod", "discover").status, 0);
    EXPECT_EQ(store.kforutil("prod", "listdisk").out, disks);
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'b');
    store.createAnnotation("A");
    store.showImage("T", "A");
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'b');
}

TEST(Qsd, AnApplianceWithAnnotationsStaysWithItsEngine)
{
    const CQsdStore store;
    store.createAnnotation("A");
    store.expectRefusal({"appliance", "migrate", "alpha", "--engine", "files"}, 5,
                        "group \"cg1\" still has 1 annotations and 0 time images, which do not move to another engine; "
                        "remove what uses it first");
    store.expectRefusal({"appliance", "migrate", "alpha", "--engine", "qsd"}, 2,
                        "appliance \"alpha\" is kept by engine \"qsd\" already; see lmadm --help");
}

TEST(Qsd, ManyToolsAtOnceEachGetTheirAnnotation)
{
    constexpr int MANY = 8;
    const CQsdStore store;
    std::vector<std::unique_ptr<CProcess>> makers;
    for (int number = 0; number < MANY; ++number) {
        makers.push_back(std::make_unique<CProcess>(
            lmshCommand(), script("create annotation \"A" + std::to_string(number) + "\" \"cg1\"\ncommit"),
            store.root("prod").string()));
    }
    for (const auto& maker : makers) {
        const SResult result = maker->wait();
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
    }
    EXPECT_EQ(store.layers(), size_t{2 * (MANY + 1)});
}

TEST(Qsd, WhatIsMissingOnTheMachineIsNamedWithItsPackage)
{
    const CTemporaryFolder folder;
    CProcess create({"/usr/bin/env", "PATH=/nowhere", LMADM_PATH, "--store", (folder / "store").string(), "appliance",
                     "create", "alpha", "--engine", "qsd"},
                    "");
    const SResult result = create.wait();
    EXPECT_EQ(result.status, 7);
    ASSERT_EQ(result.err.size(), 1U);
    EXPECT_THAT(result.err[0],
                testing::StartsWith("lmadm: engine \"qsd\" needs the program qemu-storage-daemon: install "
                                    "the package qemu-system-common"));
    CProcess list({LMADM_PATH, "--store", (folder / "store").string(), "appliance", "list"}, "");
    EXPECT_EQ(list.wait().out, Lines({"(none)"}));
}

TEST(Qsd, AFolderThatIsTooDeepForSocketsIsRefused)
{
    const CTemporaryFolder folder;
    const fs::path store = folder / std::string(100, 'd');
    CProcess create({LMADM_PATH, "--store", store.string(), "appliance", "create", "alpha", "--engine", "qsd"}, "");
    const SResult result = create.wait();
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(
        result.err,
        ElementsAre(HasSubstr("has more than 107 bytes, too many for a socket: choose a shorter store folder")));
}

TEST(Qsd, ALunIsMadeOfWholeSectors)
{
    const CQsdStore store;
    store.expectRefusal({"lun", "create", "odd", "--group", "cg1", "--size", "1000"}, 2,
                        "LUN \"odd\" of 1000 bytes is not made of whole sectors of 512 bytes; see lmadm --help");
}

TEST(Qsd, OneDamagedLunKeepsNoOtherFromItsHost)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    EXPECT_EQ(store.lmadm({"appliance", "stop", "alpha"}).status, 0);
    writeFile(store.home() / "volumes/2.0", "no layer");
    SResult refused = store.kforutil("prod", "discover");
    EXPECT_EQ(refused.status, 6);
    EXPECT_THAT(refused.err, ElementsAre(HasSubstr("Image is not in qcow2 format")));
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'a');
    EXPECT_EQ(store.kforutil("prod", "listdisk").out.size(), 4U);
    refused = store.lmsh("create annotation \"A\" \"cg1\"\ncommit");
    EXPECT_EQ(refused.status, 6);
    EXPECT_THAT(refused.err, ElementsAre(HasSubstr("Image is not in qcow2 format")));
    EXPECT_EQ(entriesIn(store.home() / "annotations"), 0U);
}

}  // namespace

}  // namespace lumora::test
