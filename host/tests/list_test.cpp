// Lists as they are wanted, and what two snapshots have apart.
#include "host/tests/catalog_fixture.h"

namespace {

using nlohmann::json;

class CListTest : public CCatalogTest
{
  protected:
    void SetUp() override
    {
        CCatalogTest::SetUp();
        ASSERT_EQ(
            fictl({"snapshot", "create", "db-10", "/dev/fake1", "--label", "job=db", "--label", "tier=gold"}).exit, 0);
        ASSERT_EQ(fictl({"snapshot", "create", "db-9", "/dev/fake1", "/dev/fake4", "--label", "job=db"}).exit, 0);
        ASSERT_EQ(fictl({"snapshot", "create", "web", "/dev/fake3", "--note", "before the upgrade"}).exit, 0);
        ASSERT_EQ(fictl({"snapshot", "import", "web"}).exit, 0);
        // One after the other, and not as they were made.
        created("web", "2026-01-01T00:00:00Z");
        created("db-9", "2026-01-03T00:00:00Z");
        created("db-10", "2026-01-02T00:00:00Z");
    }

    void created(const std::string& name, const std::string& time) const
    {
        change("UPDATE snapshot SET created = '" + time + "' WHERE name = '" + name + "'");
    }
    SRun list(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"snapshot", "list"});
        return fictl(words);
    }
    /// The names in the order of the list.
    std::string names(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"-o", "name"});
        const SRun run = list(words);
        EXPECT_EQ(run.exit, 0) << run.err;
        std::string text;
        for (const std::string& line : base_test::linesOf(run.out)) {
            text += (text.empty() ? "" : " ") + line;
        }
        return text;
    }
    std::string next(const std::vector<std::string>& words) const
    {
        const SRun run = list(words);
        EXPECT_EQ(run.exit, 2);
        return run.err;
    }
};

TEST_F(CListTest, ShowsTheUsualColumnsUnlessOthersAreNamed)
{
    EXPECT_EQ(list({}).out,
              "NAME   STATE     CREATED               DEVICES  GROUPS\n"
              "db-9   complete  2026-01-03T00:00:00Z  2        ap1/g1,ap2/g3\n"
              "db-10  complete  2026-01-02T00:00:00Z  1        ap1/g1\n"
              "web    imported  2026-01-01T00:00:00Z  1        ap1/g2\n");
    EXPECT_EQ(list({"--columns", "name,luns,labels", "--columns", "note"}).out,
              "NAME   LUNS   LABELS            NOTE\n"
              "db-9   S1,S4  job=db            -\n"
              "db-10  S1     job=db,tier=gold  -\n"
              "web    S3     -                 before the upgrade\n");
    EXPECT_EQ(list({"--columns", "name,groups", "--no-headers"}).out,
              "db-9   ap1/g1,ap2/g3\ndb-10  ap1/g1\nweb    ap1/g2\n");
}

TEST_F(CListTest, ShowsEveryColumn)
{
    const std::string creator = fictlJson({"snapshot", "show", "web"}).document()["snapshot"]["creator"];
    const std::string copy = fictlJson({"snapshot", "show", "web"}).document()["snapshot"]["devices"][0]["import_path"];
    const std::string line = base_test::linesOf(list({"--no-headers", "--state", "imported", "--columns",
                                                      "provider,origin,creator,imported,devices,message,state"})
                                                    .out)[0];
    EXPECT_EQ(line, "fakefi  created  " + creator + "  " + copy + "  1  -  imported");
    const std::string checkpoint = fictlJson({"snapshot", "show", "web"}).document()["snapshot"]["checkpoint"];
    EXPECT_EQ(list({"--no-headers", "--state", "imported", "--columns", "checkpoint"}).out, checkpoint + "\n");
}

TEST_F(CListTest, EachColumnIsReadAlsoWhenNothingElseAsksForIt)
{
    change("UPDATE snapshot SET message = 'it did not answer' WHERE name = 'web'");
    for (const char* const column : {"name", "state", "created", "creator", "origin", "provider", "checkpoint",
                                     "devices", "groups", "luns", "imported", "labels", "note", "message"}) {
        // The name decides, so that what stands behind it is only read.
        const std::string shown = list({"--no-headers", "--columns", column}).out;
        EXPECT_EQ(shown, list({"--no-headers", "--columns", column, "--sort", "name,note"}).out) << column;
        EXPECT_NE(shown.find_first_not_of("- \n"), std::string::npos) << column << " is empty";
        const std::string key = std::string(column) + ",name";
        EXPECT_EQ(names({"--sort", key}), names({"--sort", key + ",note"})) << column;
    }
}

TEST_F(CListTest, TellsHowOldASnapshotIs)
{
    const auto ageOf = [this](const std::string& ago) {
        change("UPDATE snapshot SET created = strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-" + ago +
               "') WHERE name = 'web'");
        return list({"--no-headers", "--columns", "age", "--state", "imported"}).out;
    };
    EXPECT_EQ(ageOf("3 days"), "3d\n");
    EXPECT_EQ(ageOf("90 minutes"), "1h\n");
    created("web", "some day");
    EXPECT_EQ(list({"--no-headers", "--columns", "age", "--state", "imported"}).out, "-\n");
}

TEST_F(CListTest, IsSortedAsPeopleCountUpwardsAndDownwards)
{
    EXPECT_EQ(names({}), "db-9 db-10 web");
    EXPECT_EQ(names({"--sort", "-name"}), "web db-10 db-9");
    EXPECT_EQ(names({"--sort", "created"}), "web db-10 db-9");
    EXPECT_EQ(names({"--sort", "age"}), "db-9 db-10 web") << "the youngest first";
    EXPECT_EQ(names({"--sort=-age"}), "web db-10 db-9");
    EXPECT_EQ(names({"--sort", "-state,-created"}), "web db-9 db-10");
    EXPECT_EQ(names({"--sort", "devices"}), "db-10 web db-9") << "those that are alike by name";
}

TEST_F(CListTest, ShowsOnlyWhatIsMeant)
{
    EXPECT_EQ(names({"--state", "imported"}), "web");
    EXPECT_EQ(names({"--state", "imported,complete"}), "db-9 db-10 web");
    EXPECT_EQ(names({"--label", "job"}), "db-9 db-10");
    EXPECT_EQ(names({"--label", "job=db", "--label", "tier=gold"}), "db-10");
    EXPECT_EQ(names({"--label", "job=web"}), "");
    EXPECT_EQ(names({"--group", "g3"}), "db-9");
    EXPECT_EQ(names({"--group", "ap1/g2", "--group", "g3"}), "db-9 web");
    EXPECT_EQ(names({"--group", "ap2/g1"}), "");
    EXPECT_EQ(list({"--label", "none"}).out, "NAME  STATE  CREATED  DEVICES  GROUPS\n");
    EXPECT_EQ(list({"--label", "none", "--no-headers"}).out, "");
}

TEST_F(CListTest, AMistakeNamesWhatIsKnown)
{
    EXPECT_EQ(
        next({"--columns", "name,size"}),
        "fictl: \"size\" is no column of the list\n  next: known are name,state,created,age,creator,origin,provider,"
        "checkpoint,devices,groups,luns,imported,labels,note,message\n");
    EXPECT_TRUE(next({"--sort", "size"}).starts_with("fictl: \"size\" is no column of the list\n"));
    EXPECT_EQ(next({"--state", "done"}),
              "fictl: \"done\" is no state\n  next: known are creating,interrupted,partial,failed,complete,importing,"
              "import-interrupted,import-failed,imported,releasing,release-interrupted,release-failed,deleting,"
              "delete-interrupted,delete-failed\n");
    EXPECT_EQ(list({"--label", "a b"}).exit, 2);
    EXPECT_EQ(fictl({"-o", "name", "snapshot", "show", "web"}).err,
              "fictl: --output name is for snapshot list\n  next: fictl --help\n");
}

TEST_F(CListTest, ADocumentIsChosenAndSortedLikewise)
{
    const SRun run = fictlJson({"snapshot", "list", "--label", "job", "--sort", "created", "--columns", "name"});
    const json snapshots = run.document()["snapshots"];
    ASSERT_EQ(snapshots.size(), 2U);
    EXPECT_EQ(snapshots[0]["name"], "db-10");
    EXPECT_EQ(snapshots[1]["luns"], (json{"S1", "S4"}));
    EXPECT_EQ(snapshots[1]["labels"], (json{{"job", "db"}}));
}

TEST_F(CListTest, ARecordThatCannotBeReadIsToldInEveryForm)
{
    change("UPDATE device SET made = 7 WHERE snapshot = 'web'");
    const SRun run = list({"-o", "name"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_EQ(run.out, "db-9\ndb-10\n");
    EXPECT_NE(run.err.find("snapshot \"web\" cannot be read"), std::string::npos);
}

TEST_F(CListTest, TwoSnapshotsAreCompared)
{
    EXPECT_EQ(fictl({"snapshot", "diff", "db-9", "db-10"}).out,
              "WHAT            db-9                  db-10\n"
              "created         2026-01-03T00:00:00Z  2026-01-02T00:00:00Z\n"
              "group ap2/g3    there                 -\n"
              "made at ap2/g3  2026-01-31T12:00:00Z  -\n"
              "LUN ap2/g3/S4   /dev/fake4            -\n"
              "label tier      -                     gold\n");
    const json difference = fictlJson({"snapshot", "diff", "web", "db-10"}).document()["diff"];
    EXPECT_EQ(difference["a"], "web");
    EXPECT_EQ(difference["b"], "db-10");
    EXPECT_EQ(difference["differences"][0],
              (json{{"what", "state"}, {"of", nullptr}, {"a", "imported"}, {"b", "complete"}}));
    EXPECT_EQ(difference["differences"].back(),
              (json{{"what", "label"}, {"of", "tier"}, {"a", nullptr}, {"b", "gold"}}));
}

TEST_F(CListTest, AnEmptyLabelIsNotTheSameAsNone)
{
    ASSERT_EQ(fictl({"snapshot", "label", "db-10", "--remove", "tier", "urgent="}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "delete", "db-9"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "create", "db-9", "/dev/fake1", "--label", "job=db"}).exit, 0);
    created("db-9", "2026-01-02T00:00:00Z");
    EXPECT_EQ(fictl({"snapshot", "diff", "db-9", "db-10"}).out,
              "WHAT          db-9  db-10\nlabel urgent  -     \"\"\n");
    EXPECT_EQ(fictl({"snapshot", "diff", "db-9", "db-9"}).out, "no difference\n");
    EXPECT_EQ(fictl({"snapshot", "diff", "db-9", "none"}).exit, 3);
}

}  // namespace
