#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace {

class CImportTest : public CFictlTest
{
  protected:
    void SetUp() override
    {
        CFictlTest::SetUp();
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake2", "/dev/fake3"}).exit, 0);
    }
};

TEST_F(CImportTest, PrintsWhereEachCopyShows)
{
    allowAtOnce(1);
    const SRun run = fictlJson({"snapshot", "import", "s"});
    ASSERT_EQ(run.exit, 0) << run.err;
    const nlohmann::json snapshot = run.document()["snapshot"];
    EXPECT_EQ(snapshot["state"], "imported");
    EXPECT_EQ(snapshot["devices"][0]["import_path"], fake("copies/S1"));
    EXPECT_EQ(snapshot["devices"][2]["import_path"], fake("copies/S3"));
    EXPECT_EQ(objects().size(), 4U);
    std::vector<std::string> imports;
    for (const std::string& call : calls()) {
        if (call.starts_with("init_altnode")) imports.push_back(call);
    }
    const std::string image = "KSV_Time_Image_" + snapshot["checkpoint"].get<std::string>().substr(16);
    // An image is made once for a group, and all are made before any copy is looked for.
    EXPECT_EQ(imports,
              (std::vector<std::string>{"init_altnode S1 []", "init_altnode S3 []", "init_altnode S1 [" + image + "]",
                                        "init_altnode S2 [" + image + "]", "init_altnode S3 [" + image + "]"}));
    expectClean();
}

TEST_F(CImportTest, PrintsTheSamePathsAgain)
{
    const SRun first = fictl({"snapshot", "import", "s"});
    const SRun second = fictl({"snapshot", "import", "s"});
    EXPECT_EQ(second.exit, 0);
    EXPECT_EQ(second.out, first.out);
    EXPECT_EQ(objects().size(), 4U);
}

TEST_F(CImportTest, FindsACopyAgainThatDoesNotShowAtItsPathAnyMore)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    std::filesystem::remove(fake("copies/S2"));
    const SRun run = fictl({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_TRUE(std::filesystem::exists(fake("copies/S2")));
    EXPECT_EQ(objects().size(), 4U);
}

TEST_F(CImportTest, FindsACopyAgainWhosePathShowsAnotherLun)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    const std::string shown = base_test::contentOf(fake("copies/S2"));
    base_test::writeFile(fake("copies/S2"), "S9.of.another.image\n");
    const SRun run = fictl({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 0) << run.err;
    const nlohmann::json device = fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["devices"][1];
    EXPECT_NE(device["import_path"], fake("copies/S2"));
    EXPECT_EQ(base_test::contentOf(device["import_path"]), shown);
}

TEST_F(CImportTest, SaysSoWhenTheImageOfAnImportedCopyIsGone)
{
    const SRun first = fictlJson({"snapshot", "import", "s"});
    ASSERT_EQ(first.exit, 0);
    const std::string checkpoint = first.document()["snapshot"]["checkpoint"];
    const std::string image = "KSV_Time_Image_" + checkpoint.substr(16);
    std::filesystem::remove(fake("objects/ap1.g1." + image));
    std::filesystem::remove(fake("copies/S1"));
    const SRun run = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(run.document()["error"]["message"],
              "snapshot \"s\": time image " + image +
                  " of group \"g1\" of appliance \"ap1\" is gone, and with it the copy that was imported");
    EXPECT_EQ(run.document()["error"]["next"],
              "fictl snapshot release s, then fictl snapshot import s makes a new one of the checkpoint");
    EXPECT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(state("s"), "imported");
}

TEST_F(CImportTest, CanBeTriedAgainWhenNoImageWasMade)
{
    arm("image:g1 fail busy\n");
    const SRun failed = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(failed.exit, 8);
    EXPECT_EQ(failed.document()["error"]["commands"][0]["output"], "busy\n");
    EXPECT_EQ(failed.document()["error"]["next"], "mend what the appliance reports, then fictl snapshot import s");
    EXPECT_EQ(failed.document()["snapshot"]["state"], "import-failed");
    arm("");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(state("s"), "imported");
}

TEST_F(CImportTest, KeepsWhatWasImportedBeforeAGroupFailed)
{
    arm("image:g2 fail busy\n");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 8);
    const nlohmann::json devices = fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["devices"];
    EXPECT_EQ(devices[1]["import_path"], fake("copies/S2"));
    EXPECT_TRUE(devices[2]["import_path"].is_null());
    arm("");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CImportTest, TakesAnImageUpThatAnEarlierImportHasMade)
{
    for (const bool isInspected : {true, false}) {
        if (!isInspected) leaveInspectorAway();
        arm("find:S2 fail\n");
        const SRun run = fictlJson({"snapshot", "import", "s"});
        EXPECT_EQ(run.exit, 8) << isInspected;
        EXPECT_EQ(run.document()["error"]["next"], "fictl doctor tells more; mend that, then fictl snapshot import s")
            << "no command failed";
        arm("");
        const SRun again = fictl({"snapshot", "import", "s"});
        EXPECT_EQ(again.exit, 0) << isInspected << again.err;
        EXPECT_EQ(objects().size(), 4U);
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0) << isInspected;
        EXPECT_TRUE(objects().empty());
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake2", "/dev/fake3"}).exit, 0);
    }
    expectClean();
}

TEST_F(CImportTest, AProviderThatDoesNotStartLeavesTheRecordAsItWas)
{
    arm("init fail no configuration\n");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 6);
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 6);
    EXPECT_EQ(state("s"), "complete");
}

TEST_F(CImportTest, RefusesAnotherProviderThanTheRecords)
{
    const SRun import = run({"--provider", "other", "snapshot", "import", "s"});
    EXPECT_EQ(import.exit, 2);
    EXPECT_NE(import.err.find("was made by provider \"fakefi\", not \"other\""), std::string::npos) << import.err;
    EXPECT_EQ(run({"--provider", "other", "snapshot", "delete", "s"}).exit, 2);
    EXPECT_EQ(state("s"), "complete");
    // Without the option the record's own provider is looked for by its name.
    EXPECT_NE(run({"snapshot", "import", "s"}).err.find("libfakefi.so"), std::string::npos);
}

TEST_F(CImportTest, UnknownNamesAreNotFound)
{
    for (const char* command : {"show", "import", "release", "delete", "export"}) {
        const SRun run = fictlJson({"snapshot", command, "nosuch"});
        EXPECT_EQ(run.exit, 3) << command;
        EXPECT_EQ(run.document()["error"]["code"], "not-found");
        EXPECT_NE(run.err.find("snapshot \"nosuch\" is not in the catalog"), std::string::npos);
    }
}

}  // namespace
