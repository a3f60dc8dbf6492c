// The engine of a store: how it is chosen, and what it is given.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/table/engine_table.h"
#include "appliance/tests/test_support.h"
#include "base/sqlite.h"

namespace lumora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(Engine, IsGivenTheFolderOfTheStoreAndItsSettings)
{
    const CTemporaryFolder folder;
    const std::filesystem::path file = folder / "appliance.conf";
    writeFile(file, "# where the content lies\nENGINE=other\n\nPOOL=fast=1\nSIZE=1\n");
    const SEngineSetup setup = readEngineSetup(folder.path(), {file});
    EXPECT_EQ(setup.store, folder.path());
    EXPECT_EQ(setup.engine, "other");
    EXPECT_THAT(setup.settings, ElementsAre(Pair("POOL", "fast=1"), Pair("SIZE", "1")));
}

TEST(Engine, IsFilesWhereNothingIsSaid)
{
    const CTemporaryFolder folder;
    EXPECT_EQ(readEngineSetup(folder.path(), {folder / "none"}).engine, "files");
    writeFile(folder / "appliance.conf", "OTHER=1\n");
    EXPECT_EQ(readEngineSetup(folder.path(), {folder / "appliance.conf"}).engine, "files");
}

TEST(Engine, IsThatOfTheFirstFileThatSaysSo)
{
    const CTemporaryFolder folder;
    writeFile(folder / "appliance.conf", "STORE=/srv\nPOOL=fast\n");
    writeFile(folder / "engine.conf", "ENGINE=other\nPOOL=slow\n");
    const SEngineSetup setup = readEngineSetup(folder.path(), {folder / "appliance.conf", folder / "engine.conf"});
    EXPECT_EQ(setup.engine, "other");
    EXPECT_THAT(setup.settings, ElementsAre(Pair("POOL", "fast"), Pair("STORE", "/srv")));
}

TEST(Engine, OfAStoreThatSeveralMachinesShareIsOneThatTheyAllSee)
{
    const CTemporaryFolder folder;
    writeFile(folder / "appliance.conf", "CATALOG=catalog/appliance.db\n");
    const SEngineSetup setup = readEngineSetup(folder.path(), {folder / "appliance.conf"});
    EXPECT_TRUE(setup.isShared);
    EXPECT_EQ(setup.engine, "ceph");
    EXPECT_NO_THROW(checkEngineIsShared(setup, "ceph"));
    try {
        checkEngineIsShared(setup, "files");
        ADD_FAILURE();
    } catch (const EApplianceError& error) {
        EXPECT_EQ(error.status(), EStatus::MALFORMED);
        EXPECT_EQ(std::string(error.what()),
                  "engine \"files\" keeps content on one machine, and the catalog of store " + folder.path().string() +
                      " is for several: choose ceph");
    }
}

TEST(Engine, EveryNameMakesItsEngine)
{
    SEngineSetup setup;
    setup.store = "/store";
    base::CSqliteDatabase catalog(":memory:", SQLITE_OPEN_READWRITE, std::chrono::seconds(0));
    setup.catalog = &catalog;
    for (const SEngineKind& kind : engineKinds()) {
        if (kind.name == "ceph" && !HAS_CEPH) continue;  // its module is not built; the next test has what is said
        EXPECT_NE(makeEngine(setup, {"/store/a", std::string(kind.name)}), nullptr) << kind.name;
    }
}

TEST(Engine, WhoseModuleIsMissingIsRefusedWithThePackagesThatBringIt)
{
    const CTemporaryFolder folder;
    std::filesystem::create_directory(folder / "bin");
    std::filesystem::copy_file(LMADM_PATH, folder / "bin/lmadm");
    CProcess refused({(folder / "bin/lmadm").string(), "--store", (folder / "store").string(), "appliance", "create",
                      "vault", "--engine", "ceph"},
                     "");
    const SResult result = refused.wait();
    EXPECT_EQ(result.status, 7);
    const std::string module = (folder / "lib").string();
    ASSERT_EQ(result.err.size(), 1U);
    EXPECT_THAT(result.err[0], testing::StartsWith("lmadm: engine \"ceph\" cannot be used: " + module));
    EXPECT_THAT(result.err[0],
                testing::HasSubstr("/obzx/engines/engine-ceph.so: cannot open shared object file: No such file or "
                                   "directory; build it where the packages librbd-dev and librados-dev are installed"));
}

TEST(Engine, OfTheStoreIsThatOfEveryTool)
{
    const CDemoStore demo;
    const std::filesystem::path file = demo.store() / "etc/qz/appliance.conf";
    writeFile(file, "ENGINE=files\n");
    demo.createAnnotation("A");
    EXPECT_THAT(demo.lmadm({"appliance", "show", "alpha"}).out, testing::Contains("engine: files"));

    writeFile(file, "ENGINE=paper\n");
    const std::string refusal =
        "store " + demo.store().string() + " is kept by engine \"paper\", which is none of " + engineNames();
    SResult result = demo.lmsh("list hosts");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre("lmsh: " + refusal));
    result = demo.kforutil("prod", "listdisk");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre("kforutil: " + refusal));
    demo.expectRefusal({"read", "lun1"}, 7,
                       refusal +
                           "; name the right folder with --store, or create a store: lmadm --store DIR appliance "
                           "create NAME");
}

TEST(Engine, OfAStoreWithBrokenSettingsIsRefused)
{
    const CDemoStore demo;
    const std::filesystem::path file = demo.store() / "etc/qz/appliance.conf";
    writeFile(file, "ENGINE=files\nfast\n");
    const SResult result = demo.lmsh("list hosts");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre("lmsh: configuration " + file.string() + ": line 2 is not KEY=VALUE"));
}

TEST(Engine, OfAnApplianceIsTheOneThatItWasMadeWith)
{
    const CDemoStore demo;
    EXPECT_EQ(demo.lmadm({"appliance", "create", "beta", "--engine", "files"}).status, 0);
    EXPECT_THAT(demo.lmadm({"appliance", "show", "beta"}).out, testing::Contains("engine: files"));

    const std::filesystem::path fresh = demo.folder() / "fresh";
    CProcess refused({LMADM_PATH, "--store", fresh.string(), "appliance", "create", "gamma", "--engine", "paper"}, "");
    const SResult result = refused.wait();
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, ElementsAre("lmadm: engine \"paper\" is none of " + engineNames() + "; see lmadm --help"));
    EXPECT_FALSE(std::filesystem::exists(fresh));
}

TEST(Engine, OfAStoreFromBeforeThereWereSeveralIsFiles)
{
    const CDemoStore demo;
    demo.createAnnotation("A");
    const std::filesystem::path file = demo.store() / "var/lib/lumora/appliance.db";
    {
        const base::CSqliteDatabase database(file.string(), SQLITE_OPEN_READWRITE, std::chrono::seconds(1));
        sqlite3_exec(database.handle(), "ALTER TABLE appliance DROP COLUMN engine; PRAGMA user_version = 1", nullptr,
                     nullptr, nullptr);
    }
    EXPECT_THAT(demo.lmadm({"appliance", "show", "alpha"}).out, testing::Contains("engine: files"));
    demo.createTimeImage("T", "A", "backup");
    EXPECT_EQ(demo.kforutil("backup", "discover").out, Lines({"2 disks for host backup"}));
}

TEST(Store, OfALaterVersionIsLeftAlone)
{
    const CDemoStore demo;
    const std::filesystem::path file = demo.store() / "var/lib/lumora/appliance.db";
    {
        const base::CSqliteDatabase database(file.string(), SQLITE_OPEN_READWRITE, std::chrono::seconds(1));
        sqlite3_exec(database.handle(), "PRAGMA user_version = 3", nullptr, nullptr, nullptr);
    }
    const SResult result = demo.lmsh("list hosts");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre("lmsh: store database " + file.string() +
                                        " is of a version that this program does not know"));
}

}  // namespace

}  // namespace lumora::test
