// The engine of a store: how it is chosen, and what it is given.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/engine_table.h"
#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(Engine, IsGivenTheFolderOfTheStoreAndItsSettings)
{
    const CTemporaryFolder folder;
    const std::filesystem::path file = folder / "engine.conf";
    writeFile(file, "# where the content lies\nENGINE=other\n\nPOOL=fast=1\nSIZE=1\n");
    const SEngineSetup setup = readEngineSetup(folder.path(), file);
    EXPECT_EQ(setup.store, folder.path());
    EXPECT_EQ(setup.engine, "other");
    EXPECT_THAT(setup.settings, ElementsAre(Pair("POOL", "fast=1"), Pair("SIZE", "1")));
}

TEST(Engine, IsFilesWhereNothingIsSaid)
{
    const CTemporaryFolder folder;
    EXPECT_EQ(readEngineSetup(folder.path(), folder / "none").engine, "files");
    writeFile(folder / "engine.conf", "OTHER=1\n");
    EXPECT_EQ(readEngineSetup(folder.path(), folder / "engine.conf").engine, "files");
}

TEST(Engine, EveryNameMakesItsEngine)
{
    for (const SEngineKind& kind : engineKinds()) {
        EXPECT_NE(makeEngine({"/store", std::string(kind.name), {}}), nullptr) << kind.name;
    }
}

TEST(Engine, OfTheStoreIsThatOfEveryTool)
{
    const CDemoStore demo;
    const std::filesystem::path file = demo.store() / "var/lib/lumora/engine.conf";
    writeFile(file, "ENGINE=files\n");
    demo.createAnnotation("A");
    EXPECT_THAT(demo.lmadm({"appliance", "show", "alpha"}).out, testing::Contains("engine: files"));

    writeFile(file, "ENGINE=paper\n");
    const std::string refusal =
        "store " + demo.store().string() + " is kept by engine \"paper\", which is none of files";
    SResult result = demo.lmsh("list hosts");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre("lmsh: " + refusal));
    result = demo.kforutil("prod", "listdisk");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre("kforutil: " + refusal));
    demo.expectRefusal({"group", "show", "cg1"}, 7,
                       refusal +
                           "; name the right folder with --store, or create a store: lmadm --store DIR appliance "
                           "create NAME");
}

TEST(Engine, OfAStoreWithBrokenSettingsIsRefused)
{
    const CDemoStore demo;
    const std::filesystem::path file = demo.store() / "var/lib/lumora/engine.conf";
    writeFile(file, "ENGINE=files\nfast\n");
    const SResult result = demo.lmsh("list hosts");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre("lmsh: configuration " + file.string() + ": line 2 is not KEY=VALUE"));
}

}  // namespace

}  // namespace lumora::test
