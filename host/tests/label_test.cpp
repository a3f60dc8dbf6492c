// Names that are filled in, labels and notes: on their way from creation to where they are shown.
#include <unistd.h>

#include <regex>

#include "host/tests/catalog_fixture.h"

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

class CLabelTest : public CCatalogTest
{
  protected:
    json shown(const std::string& name) const { return fictlJson({"snapshot", "show", name}).document()["snapshot"]; }
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        const json document = fictlJson({"snapshot", "list"}).document();
        for (const json& entry : document["snapshots"]) {
            names.push_back(entry["name"]);
        }
        return names;
    }
    std::string document() const { return fictl({"snapshot", "export", "s"}).out; }
    void createLabelled() const
    {
        ASSERT_EQ(fictl({"snapshot", "create", "--label", "tier=gold", "--label=job=nightly", "--note",
                         "before the upgrade", "s", "/dev/fake1"})
                      .exit,
                  0);
    }
};

using Names = std::vector<std::string>;

TEST_F(CLabelTest, FieldsOfANameAreFilledIn)
{
    const SRun run = fictl({"snapshot", "create", "db-{date}T{time}@{host}", "/dev/fake1"});
    EXPECT_EQ(run.exit, 0) << run.err;
    ASSERT_EQ(names().size(), 1U);
    const std::string name = names().front();
    static const std::regex FORM("db-[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}-[0-9]{2}-[0-9]{2}[+-][0-9]{4}@[^.]+");
    EXPECT_TRUE(std::regex_match(name, FORM)) << name;
    EXPECT_EQ(run.out.substr(0, run.out.find(" is")), "snapshot \"" + name + "\"");
}

TEST_F(CLabelTest, ANumberIsTheNextOne)
{
    EXPECT_EQ(fictl({"snapshot", "create", "db-{n}", "/dev/fake1"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "create", "db-{n}", "/dev/fake3"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "db-1"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "create", "db-{n}", "/dev/fake4"}).exit, 0);
    EXPECT_EQ(names(), (Names{"db-2", "db-3"}));
}

TEST_F(CLabelTest, ABraceOfNoFieldIsAMistake)
{
    const SRun run = fictl({"snapshot", "create", "db-{day}", "/dev/fake1"});
    EXPECT_EQ(run.exit, 2);
    EXPECT_EQ(run.err,
              "fictl: \"db-{day}\" cannot be a snapshot's name: {day} is not known\n"
              "  next: fill in {date}, {time}, {host} or {n}; a name holds no other brace\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "db-{n}"}).exit, 2) << "only a creation fills in";
}

TEST_F(CLabelTest, LabelsAndNoteAreShown)
{
    createLabelled();
    const json record = shown("s");
    EXPECT_EQ(record["labels"], (json{{"job", "nightly"}, {"tier", "gold"}}));
    EXPECT_EQ(record["note"], "before the upgrade");
    const std::string creator = record["creator"];
    EXPECT_NE(creator.find('@'), std::string::npos);
    const std::string text = fictl({"snapshot", "show", "s"}).out;
    EXPECT_NE(
        text.find("\nCREATOR     " + creator + "\nLABELS      job=nightly,tier=gold\nNOTE        before the upgrade\n"),
        std::string::npos)
        << text;
    EXPECT_EQ(fictlJson({"snapshot", "list"}).document()["snapshots"][0]["labels"], record["labels"]);
}

TEST_F(CLabelTest, ASnapshotWithoutThemSaysSo)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    EXPECT_EQ(shown("s")["labels"], json::object());
    EXPECT_EQ(shown("s")["note"], nullptr);
}

TEST_F(CLabelTest, WhatIsNoLabelIsRefusedBeforeAnythingIsMade)
{
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"--label", "a"}, {"--label", "-=1"}, {"--label", "a=1", "--label", "a=2"}, {"--note", "two\nlines"}}) {
        std::vector<std::string> all = {"snapshot", "create", "s", "/dev/fake1"};
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_EQ(fictl(all).exit, 2);
    }
    EXPECT_TRUE(objects().empty());
}

TEST_F(CLabelTest, LabelsAreChangedRemovedAndAdded)
{
    createLabelled();
    EXPECT_EQ(fictl({"snapshot", "label", "s", "tier=silver", "keep=", "--remove", "job"}).out,
              "snapshot \"s\" is labelled: keep=,tier=silver; note: before the upgrade\n");
    EXPECT_EQ(fictl({"snapshot", "label", "s", "--note", "after it"}).exit, 0);
    EXPECT_EQ(shown("s")["note"], "after it");
    EXPECT_EQ(fictl({"snapshot", "label", "s", "--note", "--draft="}).exit, 0);
    EXPECT_EQ(shown("s")["note"], "--draft=") << "what stands where a value stands is one";
    EXPECT_EQ(fictl({"snapshot", "label", "s", "--note", "", "--remove", "keep", "--remove", "tier"}).out,
              "snapshot \"s\" is labelled: -\n");
    EXPECT_EQ(shown("s")["note"], nullptr);
    EXPECT_EQ(fictlJson({"history", "s"}).document()["history"].size(), 5U);
}

TEST_F(CLabelTest, AChangeOfNothingOrOfNoSnapshotIsRefused)
{
    createLabelled();
    EXPECT_EQ(fictl({"snapshot", "label", "s"}).err,
              "fictl: nothing is to be changed\n  next: give KEY=VALUE, --remove KEY or --note TEXT\n");
    EXPECT_EQ(fictl({"snapshot", "label", "s", "a=1", "--remove", "a"}).exit, 2);
    EXPECT_EQ(fictl({"snapshot", "label", "none", "a=1"}).exit, 3);
    std::vector<std::string> many = {"snapshot", "label", "s"};
    for (int i = 0; i < 63; ++i) {
        many.push_back("k" + std::to_string(i) + "=");
    }
    EXPECT_EQ(fictl(many).exit, 2) << "with the two that are there";
    EXPECT_EQ(shown("s")["labels"].size(), 2U);
}

TEST_F(CLabelTest, LabelsStayThroughTheLifeOfASnapshot)
{
    createLabelled();
    for (const char* const verb : {"import", "release"}) {
        ASSERT_EQ(fictl({"snapshot", verb, "s"}).exit, 0);
        EXPECT_EQ(shown("s")["labels"].size(), 2U) << verb;
        EXPECT_EQ(shown("s")["note"], "before the upgrade") << verb;
    }
    ASSERT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_EQ(textOf("SELECT count(*) FROM label"), "0");
}

TEST_F(CLabelTest, AChangeWhileAnotherFictlIsAtWorkStays)
{
    createLabelled();
    arm("image:g1 wait here\n");
    startHeld({"snapshot", "import", "s"});
    release();
    waitForFile("here.reached");
    EXPECT_EQ(fictl({"snapshot", "label", "s", "tier=silver", "--note", "n"}).exit, 0);
    touch("here");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(shown("s")["labels"]["tier"], "silver");
    EXPECT_EQ(shown("s")["note"], "n");
    EXPECT_EQ(shown("s")["state"], "imported");
}

TEST_F(CLabelTest, ADocumentCarriesThem)
{
    createLabelled();
    const json written = json::parse(document());
    EXPECT_EQ(written["version"], 2);
    EXPECT_EQ(written["labels"], (json{{"job", "nightly"}, {"tier", "gold"}}));
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    EXPECT_EQ(receive(written.dump()).exit, 0);
    EXPECT_EQ(shown("s")["labels"], written["labels"]);
    EXPECT_EQ(shown("s")["note"], "before the upgrade");
    EXPECT_EQ(shown("s")["creator"], nullptr);
}

TEST_F(CLabelTest, ADocumentWithoutThemIsOneThatEveryFictlReads)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const json written = json::parse(document());
    EXPECT_EQ(written["version"], 1);
    EXPECT_FALSE(written.contains("labels"));
}

TEST_F(CLabelTest, ACheckFindsWhatIsNoLabel)
{
    createLabelled();
    change("UPDATE label SET label_key = ' ' WHERE label_key = 'job'; UPDATE snapshot SET note = char(10)");
    change("PRAGMA foreign_keys = OFF; INSERT INTO label VALUES ('none', 'a', 'b')");
    const SRun run = fictl({"catalog", "check"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_NE(run.out.find("s/ "), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("is no label's key\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("is no note\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("there is no snapshot of this name\n"), std::string::npos) << run.out;
}

class CIfThereTest : public CLabelTest
{
  protected:
    SRun createIfAbsent(const std::vector<std::string>& devices = {"/dev/fake1"}) const
    {
        std::vector<std::string> words = {"snapshot", "create", "--if-absent", "s"};
        words.insert(words.end(), devices.begin(), devices.end());
        return fictl(words);
    }
};

TEST_F(CIfThereTest, ACreationMakesWhatIsNotThere)
{
    EXPECT_EQ(createIfAbsent().exit, 0);
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(objects().size(), 1U);
}

TEST_F(CIfThereTest, ACreationOfWhatIsThereMakesNothing)
{
    ASSERT_EQ(createIfAbsent().exit, 0);
    const SRun again = createIfAbsent();
    EXPECT_EQ(again.exit, 0);
    EXPECT_EQ(again.out, "snapshot \"s\" is there already (complete); nothing was made\n");
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(createIfAbsent().out, "snapshot \"s\" is there already (imported); nothing was made\n");
    const json document = fictlJson({"snapshot", "create", "--if-absent", "s", "/dev/fake1"}).document();
    EXPECT_EQ(document["already_there"], true);
    EXPECT_EQ(document["snapshot"]["state"], "imported");
}

TEST_F(CIfThereTest, ADeviceUnderAnotherNameIsTheSame)
{
    const std::string device = m_root + "/disk";
    const std::string link = m_root + "/by-id";
    base_test::writeFile(device, "");
    fs::create_symlink(device, link);
    ASSERT_EQ(createIfAbsent().exit, 0);
    change("UPDATE device SET source = '" + device + "'");
    EXPECT_EQ(createIfAbsent({link}).exit, 0);
}

TEST_F(CIfThereTest, ASnapshotOfOtherDevicesIsNoSubstitute)
{
    ASSERT_EQ(createIfAbsent().exit, 0);
    const SRun run = createIfAbsent({"/dev/fake1", "/dev/fake2"});
    EXPECT_EQ(run.exit, 4);
    EXPECT_EQ(run.err,
              "fictl: snapshot \"s\" is in the catalog already, and is of other devices\n"
              "  next: fictl snapshot show s\n");
    EXPECT_EQ(createIfAbsent({"/dev/fake2"}).exit, 4);
}

TEST_F(CIfThereTest, ASnapshotThatIsNotWholeIsNoSubstitute)
{
    arm("make:g2 fail busy\n");
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 9);
    const SRun run = createIfAbsent({"/dev/fake1", "/dev/fake3"});
    EXPECT_EQ(run.exit, 4);
    EXPECT_EQ(run.err, "fictl: snapshot \"s\" is in the catalog already (partial)\n  next: fictl snapshot show s\n");
}

TEST_F(CIfThereTest, ANumberIsNeverThere)
{
    EXPECT_EQ(fictl({"snapshot", "create", "--if-absent", "s-{n}", "/dev/fake1"}).exit, 2);
}

TEST_F(CIfThereTest, ADeletionOfWhatIsNotThereIsDone)
{
    const SRun run = fictl({"snapshot", "delete", "--if-present", "s"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.out, "snapshot \"s\" is not there; nothing was deleted\n");
    EXPECT_FALSE(fs::exists(m_root + "/var")) << "no catalog is made for that";
    const json document = fictlJson({"snapshot", "delete", "--if-present", "s"}).document();
    EXPECT_EQ(document["already_gone"], true);
    ASSERT_EQ(createIfAbsent().exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "--if-present", "s"}).out, "snapshot \"s\" is deleted\n");
    EXPECT_TRUE(objects().empty());
}

}  // namespace
