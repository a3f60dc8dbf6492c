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
    EXPECT_EQ(imports, (std::vector<std::string>{"init_altnode S1 []", "init_altnode S1 [" + image + "]",
                                                 "init_altnode S2 []", "init_altnode S2 [" + image + "]",
                                                 "init_altnode S3 []", "init_altnode S3 [" + image + "]"}));
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

TEST_F(CImportTest, SaysSoWhenAnImportedCopyIsGone)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    std::filesystem::remove(fake("copies/S2"));
    const SRun run = fictl({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_NE(run.err.find("(copy of /dev/fake2) is not there any more"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("next: fictl snapshot delete s"), std::string::npos);
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

TEST_F(CImportTest, OffersDeletionWhenAnImageCannotBeTakenUpAgain)
{
    arm("find:S2 fail\n");
    const SRun run = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_TRUE(run.document()["error"]["next"].get<std::string>().starts_with("fictl snapshot delete s ("));
    arm("");
    const SRun again = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(again.exit, 8);
    EXPECT_NE(again.document()["error"]["commands"][0]["output"].get<std::string>().find("exists already"),
              std::string::npos);
    EXPECT_TRUE(again.document()["error"]["next"].get<std::string>().starts_with("fictl snapshot delete s ("));
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
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
    for (const char* command : {"show", "import", "delete", "export"}) {
        const SRun run = fictlJson({"snapshot", command, "nosuch"});
        EXPECT_EQ(run.exit, 3) << command;
        EXPECT_EQ(run.document()["error"]["code"], "not-found");
        EXPECT_NE(run.err.find("snapshot \"nosuch\" is not in the catalog"), std::string::npos);
    }
}

}  // namespace
