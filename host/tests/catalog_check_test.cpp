// Rows that cannot be read: each hides only itself, and fictl catalog check names it.
#include <map>

#include "host/tests/catalog_fixture.h"

namespace fs = std::filesystem;

namespace {

class CCatalogCheckTest : public CCatalogTest
{
  protected:
    void SetUp() override
    {
        CCatalogTest::SetUp();
        for (const char* name : {"a", "b", "c"}) {
            ASSERT_EQ(fictl({"snapshot", "create", name, "/dev/fake1", "/dev/fake2"}).exit, 0);
        }
    }

    /// The problems as "table row column: text".
    std::vector<std::string> problems() const
    {
        const SRun run = fictlJson({"catalog", "check"});
        const nlohmann::json check = run.document()["catalog"];
        EXPECT_EQ(run.exit, check["problems"].empty() ? 0 : 11);
        EXPECT_EQ(check["sound"], check["problems"].empty());
        std::vector<std::string> lines;
        for (const nlohmann::json& problem : check["problems"]) {
            const auto word = [&](const char* key) { return problem[key].is_null() ? "-" : std::string(problem[key]); };
            lines.push_back(word("table") + " " + word("row") + " " + word("column") + ": " + word("text"));
        }
        return lines;
    }

    std::vector<std::string> listed() const
    {
        std::vector<std::string> names;
        const nlohmann::json document = fictlJson({"snapshot", "list"}).document();
        for (const nlohmann::json& entry : document["snapshots"]) {
            names.push_back(entry["name"]);
        }
        return names;
    }
};

TEST_F(CCatalogCheckTest, ASoundCatalogIsCounted)
{
    EXPECT_EQ(fictl({"catalog", "check"}).out, "catalog " + catalog() + " is sound: 3 records with 6 devices\n");
    EXPECT_TRUE(problems().empty());
}

TEST_F(CCatalogCheckTest, EachValueThatCannotBeIsNamedWithItsRowAndColumn)
{
    const std::map<std::string, std::string> cases = {
        {"snapshot SET state = 'weird'", "snapshot b state: \"weird\" is no state"},
        {"snapshot SET provider = '../x'", "snapshot b provider: \"../x\" is not a provider's name"},
        {"snapshot SET checkpoint = 'x'", "snapshot b checkpoint: \"x\" is not a checkpoint's name"},
        {"snapshot SET created = ''",
         "snapshot b created: \"\" is empty, or holds control characters or bytes that are not UTF-8"},
        {"snapshot SET origin = 'x'", R"(snapshot b origin: "x" is neither "created" nor "received" nor "adopted")"},
        {"snapshot SET message = CAST(x'ff' AS TEXT)", "snapshot b message: \"\\xff\" holds bytes that are not UTF-8"},
        {"snapshot SET pid = -1", "snapshot b pid: -1 is out of range"},
        {"snapshot SET start_time = -2", "snapshot b start_time: -2 is out of range"},
        {"snapshot SET exported = 2", "snapshot b exported: 2 is out of range"},
        {"device SET made = 3 WHERE position = 1", "device b/1 made: 3 is out of range"},
        {"device SET image_asked = -1 WHERE position = 1", "device b/1 image_asked: -1 is out of range"},
        {"device SET source = CAST(x'00ff' AS TEXT) WHERE position = 1",
         "device b/1 source: \"\\u0000\\xff\" is empty, or holds control characters or bytes that are not UTF-8"},
        {"device SET position = 5 WHERE position = 1",
         "snapshot b -: device 1: there is none at this position, and one at 5"},
        {"device SET serial = 'S4' WHERE position = 1",
         "snapshot b -: it does not agree with itself: device 2: \"node\" does not belong to the serial in \"state\""},
    };
    const std::string kept = m_root + "/kept";
    fs::copy_file(catalog(), kept);
    for (const auto& [set, problem] : cases) {
        std::string statement = "UPDATE " + set;
        statement += set.starts_with("snapshot") ? " WHERE name = 'b'" : " AND snapshot = 'b'";
        change(statement);
        const std::vector<std::string> found = problems();
        std::string wanted = problem;
        if (const size_t at = wanted.find("\\u0000"); at != std::string::npos) wanted.replace(at, 6, 1, '\0');
        EXPECT_NE(std::find(found.begin(), found.end(), wanted), found.end())
            << set << ": " << nlohmann::json(found).dump(1, ' ', false, nlohmann::json::error_handler_t::replace);
        for (const char* file : {"-wal", "-shm"}) {
            fs::remove(catalog() + file);
        }
        fs::copy_file(kept, catalog(), fs::copy_options::overwrite_existing);
    }
    EXPECT_TRUE(problems().empty());
}

TEST_F(CCatalogCheckTest, DevicesWithoutTheirSnapshotAndSnapshotsWithoutDevicesAreNamed)
{
    change("DELETE FROM device WHERE snapshot = 'b'; DELETE FROM snapshot WHERE name = 'c'");
    EXPECT_EQ(problems(),
              (std::vector<std::string>{"snapshot b -: it has no devices",
                                        "device c/0 snapshot: there is no snapshot of this name",
                                        "device c/1 snapshot: there is no snapshot of this name",
                                        "checkpoint_time c/ap1/g1 snapshot: there is no snapshot of this name"}));
}

TEST_F(CCatalogCheckTest, TimesOfCheckpointsAreLookedAtToo)
{
    change(
        "CREATE TABLE IF NOT EXISTS checkpoint_time (snapshot TEXT NOT NULL, appliance TEXT NOT NULL, cgroup TEXT "
        "NOT NULL, made_at TEXT NOT NULL, PRIMARY KEY (snapshot, appliance, cgroup)) STRICT; "
        "DELETE FROM checkpoint_time; "
        "INSERT INTO checkpoint_time VALUES ('a', 'ap1', 'g1', '2026-01-31T12:00:00Z'), ('b', 'ap1', 'g1', ''), "
        "('x', 'ap1', 'g1', '2026-01-31T12:00:00Z')");
    EXPECT_EQ(problems(),
              (std::vector<std::string>{
                  "checkpoint_time b/ap1/g1 made_at: \"\" is empty, or holds control characters or bytes that "
                  "are not UTF-8",
                  "checkpoint_time x/ap1/g1 snapshot: there is no snapshot of this name"}));
}

TEST_F(CCatalogCheckTest, TheProblemsAreATableAndALineForPeople)
{
    change("UPDATE snapshot SET state = 'weird' WHERE name = 'b'");
    const SRun run = fictl({"catalog", "check"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_EQ(run.out,
              "TABLE     ROW  COLUMN  PROBLEM\n"
              "snapshot  b    state   \"weird\" is no state\n");
    EXPECT_EQ(run.err, "fictl: warning: catalog " + catalog() +
                           " is not sound: 1 problem; next: keep a copy of the file with its -wal; then put back a "
                           "sound one, or mend these rows with sqlite3\n");
}

TEST_F(CCatalogCheckTest, ABadRowHidesOnlyItself)
{
    for (const char* bad : {"snapshot SET state = 'weird' WHERE name = 'b'",
                            "device SET made = 7 WHERE snapshot = 'b' AND position = 0"}) {
        change("UPDATE " + std::string(bad));
        const SRun list = fictl({"snapshot", "list"});
        EXPECT_EQ(list.exit, 11);
        EXPECT_TRUE(list.err.starts_with("fictl: warning: snapshot \"b\" cannot be read: ")) << list.err;
        EXPECT_TRUE(list.err.ends_with("; fictl catalog check tells more\n")) << list.err;
        EXPECT_EQ(listed(), (std::vector<std::string>{"a", "c"}));
        const nlohmann::json document = fictlJson({"snapshot", "list"}).document();
        ASSERT_EQ(document["unreadable"].size(), 1U);
        EXPECT_EQ(document["unreadable"][0]["name"], "b");
        change("UPDATE snapshot SET state = 'complete' WHERE name = 'b'");
    }
    for (const char* verb : {"show", "import", "release", "export", "delete"}) {
        const std::string message = refusal({"snapshot", verb, "b"});
        EXPECT_EQ(message, "snapshot \"b\": its record cannot be read: device 0: made: 7 is not 0, 1 or 2") << verb;
    }
    EXPECT_EQ(fictl({"snapshot", "import", "a"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "release", "a"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "export", "a"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "c"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "create", "d", "/dev/fake3"}).exit, 0);
    EXPECT_EQ(listed(), (std::vector<std::string>{"a", "d"}));
}

TEST_F(CCatalogCheckTest, BytesThatAreNoTextAreShownEscaped)
{
    change("UPDATE snapshot SET message = CAST(x'41ff0a42' AS TEXT) WHERE name = 'b'");
    EXPECT_NE(fictl({"snapshot", "show", "b"}).out.find("MESSAGE     A\\xff\\x0aB\n"), std::string::npos);
    EXPECT_EQ(fictlJson({"snapshot", "show", "b"}).document()["snapshot"]["message"], "A\\xff\nB");
    change("UPDATE device SET source = CAST(x'2ff0' AS TEXT) WHERE snapshot = 'b' AND position = 0");
    EXPECT_EQ(fictlJson({"snapshot", "show", "b"}).document()["snapshot"]["devices"][0]["source"], "/\\xf0");
    const SRun exported = fictlJson({"snapshot", "export", "b"});
    EXPECT_EQ(exported.exit, 13);
    EXPECT_EQ(exported.message(), "not a usable snapshot document: a name in it is not valid UTF-8");
    change("UPDATE snapshot SET name = CAST(x'62ff' AS TEXT) WHERE name = 'b'");
    EXPECT_EQ(listed(), (std::vector<std::string>{"a", "b\\xff", "c"}));
}

TEST_F(CCatalogCheckTest, TheDoctorSendsToTheCheck)
{
    change("UPDATE snapshot SET state = 'weird' WHERE name = 'b'");
    const std::string out = fictl({"doctor"}).out;
    EXPECT_NE(out.find("\nFAIL catalog " + catalog() + ": 1 problem in its records; next: fictl catalog check\n"),
              std::string::npos)
        << out;
}

}  // namespace
