// A plan is done step by step, each only where all is as it was when the plan was written.
#include <sys/stat.h>

#include <csignal>
#include <functional>

#include "host/tests/reconcile_fixture.h"

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

class CReconcilePlanTest : public CReconcileTest
{
  protected:
    std::string file() const { return m_root + "/plan.json"; }
    json plan() const
    {
        fs::remove(file());
        const SRun run = fictlJson({"reconcile", "--plan", file()});
        EXPECT_EQ(run.exit, 0) << run.out << run.err;
        const json written = json::parse(base_test::contentOf(file()));
        EXPECT_EQ(run.document()["planned"]["steps"], written["steps"]);
        return written;
    }
    SRun apply() const { return fictlJson({"reconcile", "--apply", file()}); }
    /// The results of the steps in turn, each with its reason where it has one.
    static std::vector<std::string> resultsOf(const SRun& run)
    {
        std::vector<std::string> results;
        const json document = run.document();
        if (!document.contains("applied")) {
            ADD_FAILURE() << document;
            return results;
        }
        for (const json& step : document["applied"]["steps"]) {
            const std::string reason = step["reason"].is_null() ? "" : ": " + step["reason"].get<std::string>();
            results.push_back(step["result"].get<std::string>() + reason);
        }
        return results;
    }
    void rewrite(const std::function<void(json&)>& edit) const
    {
        json document = json::parse(base_test::contentOf(file()));
        edit(document);
        base_test::writeFile(file(), document.dump());
    }
    static std::vector<std::string> namesOf(const json& plan)
    {
        std::vector<std::string> names;
        for (const json& step : plan["steps"]) {
            names.push_back(step["action"].get<std::string>() + " " + step["name"].get<std::string>());
        }
        return names;
    }
    size_t records() const { return fictlJson({"snapshot", "list"}).document()["snapshots"].size(); }
};

using Results = std::vector<std::string>;

TEST_F(CReconcilePlanTest, DeletesWhatIsOursAndForgetsWhatIsStale)
{
    const std::string orphan = createOrphan("s");
    const std::string gone = create("stale", {"/dev/fake3"});
    fs::remove(fake("objects/ap1.g2." + gone));
    const std::string kept = create("kept", {"/dev/fake4"});
    putCheckpoint("g1", "KSV_Check_Point_1", "2026-01-31T12:00:00Z");
    EXPECT_EQ(namesOf(plan()), (std::vector<std::string>{"delete checkpoint " + orphan, "forget record stale"}));
    const SRun run = apply();
    EXPECT_EQ(run.exit, 0) << run.out << run.err;
    EXPECT_EQ(resultsOf(run), (Results{"done", "done"}));
    EXPECT_EQ(objects(), (std::vector<std::string>{"ap1.g1.KSV_Check_Point_1", "ap2.g3." + kept}));
    EXPECT_EQ(records(), 1U);
    EXPECT_EQ(state("kept"), "complete");
    EXPECT_EQ(reconcile(0)["counts"]["foreign"], 1);
    expectClean();
}

TEST_F(CReconcilePlanTest, TheFileIsNewWholeAndForItsOwnerOnly)
{
    createOrphan("s");
    const json document = plan();
    EXPECT_EQ(document["format"], "fictl-reconcile-plan");
    EXPECT_EQ(document["version"], 1);
    EXPECT_EQ(document["catalog"], catalog());
    EXPECT_EQ(document["provider"], "fakefi");
    struct stat status = {};
    ASSERT_EQ(stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_FALSE(fs::exists(file() + ".part"));
    EXPECT_EQ(fictl({"reconcile", "--plan", file()}).exit, 4);
    EXPECT_EQ(json::parse(base_test::contentOf(file())), document);
    EXPECT_EQ(objects().size(), 1U) << "nothing is done";
}

TEST_F(CReconcilePlanTest, ASecondTimeAllIsGone)
{
    createOrphan("s");
    create("stale", {"/dev/fake3"});
    for (const std::string& object : objects()) {
        if (object.starts_with("ap1.g2.")) fs::remove(fake("objects/" + object));
    }
    plan();
    ASSERT_EQ(apply().exit, 0);
    const SRun again = apply();
    EXPECT_EQ(again.exit, 0) << again.out;
    EXPECT_EQ(resultsOf(again), (Results{"gone", "gone"}));
}

TEST_F(CReconcilePlanTest, AnApplyIsInTheHistoryWithWhatItDeleted)
{
    const std::string orphan = createOrphan("s");
    plan();
    ASSERT_EQ(apply().exit, 0);
    const json entry = fictlJson({"history"}).document()["history"].back();
    EXPECT_TRUE(entry["command"].get<std::string>().ends_with(" reconcile --apply " + file())) << entry;
    EXPECT_EQ(entry["exit"]["code"], 0);
    EXPECT_EQ(entry["snapshot"], nullptr);
    bool isTold = false;
    for (const json& object : entry["objects"]) {
        isTold = isTold || (object["verb"] == "delete" && object["kind"] == "checkpoint" && object["name"] == orphan &&
                            object["outcome"] == "sure");
    }
    EXPECT_TRUE(isTold) << entry["objects"];
}

TEST_F(CReconcilePlanTest, AStepWhoseObjectIsAnotherOneByNowIsSkipped)
{
    const std::string orphan = createOrphan("s");
    plan();
    putCheckpoint("g1", orphan, "2026-02-01T00:00:00Z");
    const SRun run = apply();
    EXPECT_EQ(run.exit, 8);
    ASSERT_EQ(resultsOf(run).size(), 1U);
    EXPECT_TRUE(resultsOf(run)[0].starts_with("skipped: it is foreign now: ")) << resultsOf(run)[0];
    EXPECT_TRUE(isThere("ap1.g1." + orphan));
    EXPECT_EQ(records(), 0U);
}

TEST_F(CReconcilePlanTest, AStepWhoseObjectWasAdoptedIsSkipped)
{
    const std::string orphan = createOrphan("s");
    plan();
    ASSERT_EQ(fictl({"reconcile", "--adopt", orphan, "--as", "mine"}).exit, 0);
    const SRun run = apply();
    EXPECT_EQ(run.exit, 8);
    EXPECT_TRUE(resultsOf(run)[0].starts_with("skipped: it is owned now: ")) << resultsOf(run)[0];
    EXPECT_EQ(state("mine"), "complete");
}

TEST_F(CReconcilePlanTest, AStepWhoseApplianceDoesNotTellIsSkipped)
{
    const std::string orphan = createOrphan("s");
    plan();
    for (const char* fault :
         {"appliance:ap1 fail=7 no route\n", "inspect-group:g1 fail no answer\n", "inspect fail=1 out of memory\n"}) {
        arm(fault);
        const SRun run = apply();
        EXPECT_EQ(run.exit, 8) << fault;
        EXPECT_TRUE(resultsOf(run)[0].starts_with("skipped: it is not told any more: ")) << resultsOf(run)[0];
    }
    arm("");
    EXPECT_TRUE(isThere("ap1.g1." + orphan));
    EXPECT_EQ(resultsOf(apply()), Results{"done"});
}

TEST_F(CReconcilePlanTest, AStaleRecordThatIsNotAnyMoreIsKept)
{
    const std::string checkpoint = create("s");
    const std::string object = fake("objects/ap1.g1." + checkpoint);
    const std::string content = base_test::contentOf(object);
    fs::remove(object);
    plan();
    base_test::writeFile(object, content);
    const SRun run = apply();
    EXPECT_EQ(run.exit, 8);
    EXPECT_TRUE(resultsOf(run)[0].starts_with("skipped: it is owned now: ")) << resultsOf(run)[0];
    EXPECT_EQ(state("s"), "complete");
}

TEST_F(CReconcilePlanTest, AnImageOfSomebodyElseKeepsItsCheckpoint)
{
    const std::string orphan = createOrphan("s");
    plan();
    putImage("ap1", "g1", orphan.substr(std::string("KSV_Check_Point_").size()), "backup");
    const SRun run = apply();
    EXPECT_EQ(run.exit, 8);
    EXPECT_TRUE(resultsOf(run)[0].starts_with("skipped: its time image is foreign: ")) << resultsOf(run)[0];
    EXPECT_EQ(plan()["steps"], json::array()) << "there is nothing to be done about it now";
    EXPECT_EQ(objects().size(), 2U);
    EXPECT_EQ(records(), 0U);
}

TEST_F(CReconcilePlanTest, AnOwnImageGoesWithItsCheckpoint)
{
    create("s");
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    changeHistory("UPDATE history_object SET made_at = '2026-01-31T12:00:00Z'");
    const json document = plan();
    ASSERT_EQ(document["steps"].size(), 1U) << document;
    EXPECT_EQ(document["steps"][0]["with_image"], true);
    const SRun run = apply();
    EXPECT_EQ(resultsOf(run), Results{"done"}) << run.err;
    EXPECT_TRUE(objects().empty());
}

TEST_F(CReconcilePlanTest, WhatIsNotDeletedKeepsItsRecordAndTheNextApplyGoesOn)
{
    createOrphan("s");
    plan();
    arm("delete-annotation:g1 fail annotation is in use\n");
    const SRun refused = apply();
    EXPECT_EQ(refused.exit, 8);
    EXPECT_TRUE(resultsOf(refused)[0].starts_with("failed: snapshot \"orphan-")) << resultsOf(refused)[0];
    EXPECT_EQ(records(), 1U);
    arm("");
    EXPECT_EQ(resultsOf(apply()), Results{"done"});
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(records(), 0U);
}

TEST_F(CReconcilePlanTest, AKilledApplyCanBeGivenAgain)
{
    // While the provider starts, once the record is made; before the deletion, and after it.
    for (const char* fault :
         {"hosts:ap1 killed\n", "delete-annotation:g1 killed\n", "delete-annotation:g1 killed-after\n"}) {
        createOrphan("s");
        createOrphan("t", {"/dev/fake3"});
        plan();
        arm(fault);
        EXPECT_EQ(apply().exit, 1000 + SIGKILL) << fault;
        arm("");
        EXPECT_EQ(fictlJson({"history"}).document()["history"].back()["state"], "did not end") << fault;
        EXPECT_EQ(records(), 1U) << fault;
        const SRun again = apply();
        EXPECT_EQ(again.exit, 0) << fault << again.out << again.err;
        EXPECT_TRUE(objects().empty()) << fault;
        EXPECT_EQ(records(), 0U) << fault;
    }
}

// Every state of the catalog that a kill can leave.
TEST_F(CReconcilePlanTest, AnApplyThatIsKilledAroundAnyWaitForStableStorageCanBeGivenAgain)
{
    const auto killedAfter = [this](int number) {
        return runProgram("/usr/bin/env", {"LD_PRELOAD=" FICTL_KILL_AT_SYNC, "ASAN_OPTIONS=verify_asan_link_order=0",
                                           "KILL_PROGRAM=fictl", "KILL_AT=after " + std::to_string(number),
                                           FICTL_PROGRAM, "--provider", provider(), "reconcile", "--apply", file()});
    };
    constexpr int LEAST = 4;  // the entry, the record, its deletion, the end
    int number = 1;
    for (bool isKilled = true; isKilled; ++number) {
        createOrphan("s");
        plan();
        isKilled = killedAfter(number).exit == 1000 + SIGKILL;
        const SRun again = apply();
        EXPECT_EQ(again.exit, 0) << number << again.out << again.err;
        EXPECT_TRUE(objects().empty()) << number;
        EXPECT_EQ(records(), 0U) << number;
    }
    EXPECT_GT(number, LEAST);
}

TEST_F(CReconcilePlanTest, OfTwoAppliesAtOnceOneDoesTheStep)
{
    createOrphan("s");
    plan();
    arm("delete-annotation:g1 wait here\n");
    startHeld({"reconcile", "--apply", file()});
    release();
    waitForFile("here.reached");
    const SRun second = apply();
    touch("here");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(second.exit, 8);
    EXPECT_NE(resultsOf(second)[0].find(" is at work on it (deleting)"), std::string::npos) << resultsOf(second)[0];
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(records(), 0U);
}

TEST_F(CReconcilePlanTest, ACatalogThatCannotBeWrittenKeepsAllAsItIs)
{
    createOrphan("s");
    plan();
    for (const char* end : {"-wal", "-shm"}) {
        fs::remove(catalog() + end);
    }
    fs::create_symlink("nowhere", catalog() + "-shm");
    EXPECT_EQ(apply().exit, 11);
    EXPECT_EQ(objects().size(), 1U);
}

TEST_F(CReconcilePlanTest, APlanThatWasEditedDoesNoMore)
{
    createOrphan("s");
    const std::string kept = create("kept", {"/dev/fake3"});
    putCheckpoint("g1", "KSV_Check_Point_1", "2026-01-31T12:00:00Z");
    plan();
    const auto edited = [this](const std::function<void(json&)>& edit) {
        plan();
        rewrite([&](json& document) { edit(document["steps"][0]); });
        const SRun run = apply();
        EXPECT_EQ(run.exit, 8) << run.out;
        return run.document().contains("applied") ? resultsOf(run)[0] : run.out;
    };
    EXPECT_TRUE(edited([&](json& step) {
                    step["name"] = kept;
                    step["group"] = "g2";
                }).starts_with("skipped: it is owned now"));
    EXPECT_TRUE(edited([](json& step) { step["name"] = "KSV_Check_Point_1"; }).starts_with("skipped: it is foreign"));
    EXPECT_TRUE(
        edited([](json& step) { step["time"] = "2026-02-01T00:00:00Z"; }).starts_with("skipped: what is known"));
    EXPECT_TRUE(edited([](json& step) { step["entry"] = 2; }).starts_with("skipped: what is known"));
    EXPECT_TRUE(edited([](json& step) { step["evidence"].push_back("more"); }).starts_with("skipped: what is known"));
    EXPECT_TRUE(edited([](json& step) { step["with_image"] = true; }).starts_with("skipped: its time image"));
    EXPECT_TRUE(edited([](json& step) { step["record"] = "kept"; }).starts_with("skipped: record \"kept\" is of"));
    EXPECT_TRUE(edited([](json& step) {
                    step["action"] = "forget record";
                    step["kind"] = "record";
                    step["appliance"] = step["group"] = "";
                    step["name"] = step["record"] = "kept";
                }).starts_with("skipped: it is owned now"));
    EXPECT_TRUE(edited([&](json& step) {
                    step["action"] = "remove file";
                    step["kind"] = "part file";
                    step["name"] = catalog();
                    step["appliance"] = step["group"] = "";
                }).starts_with("skipped: it is nothing that a command has left"));
    EXPECT_EQ(objects().size(), 3U);
    EXPECT_EQ(state("kept"), "complete");
    EXPECT_TRUE(fs::exists(catalog()));
}

TEST_F(CReconcilePlanTest, WhatIsNoPlanIsRefused)
{
    createOrphan("s");
    plan();
    const std::string whole = base_test::contentOf(file());
    const auto refused = [this, &whole](const std::function<void(json&)>& edit) {
        base_test::writeFile(file(), whole);
        rewrite(edit);
        const SRun run = apply();
        EXPECT_EQ(run.exit, 13) << run.out;
        return run.message();
    };
    EXPECT_EQ(refused([](json& plan) { plan["format"] = "x"; }),
              "not a usable plan: its \"format\" is not \"fictl-reconcile-plan\"; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["version"] = 2; }),
              "not a usable plan: version 2 is unknown; this fictl reads version 1; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["more"] = 1; }),
              "not a usable plan: the plan has the unknown key \"more\"; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan.erase("steps"); }),
              "not a usable plan: the plan has no \"steps\"; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["steps"] = 1; }),
              "not a usable plan: its \"steps\" are not a list; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["steps"][0].erase("time"); }),
              "not a usable plan: a step has no \"time\"; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["steps"][0]["action"] = "format disk"; }),
              "not a usable plan: \"format disk\" is no action; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["steps"][0]["kind"] = "record"; }),
              "not a usable plan: \"delete checkpoint\" is nothing for a record; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["steps"][0]["record"] = "../x"; }),
              "not a usable plan: \"../x\" is not a snapshot's name; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["steps"][0]["name"] = 7; }),
              "not a usable plan: \"name\" is not a text; nothing was done");
    EXPECT_EQ(refused([](json& plan) { plan["steps"][0]["entry"] = "1"; }),
              "not a usable plan: \"entry\" is not a number; nothing was done");
    for (const std::string& text : {std::string(), whole.substr(0, whole.size() / 2),
                                    "{\"format\":1,\"format\":2}" + std::string(), std::string(100000, '[')}) {
        base_test::writeFile(file(), text);
        EXPECT_EQ(apply().exit, 13);
    }
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(fictl({"reconcile", "--apply", file() + ".none"}).exit, 14);
}

TEST_F(CReconcilePlanTest, ThePlanOfAnotherHostCatalogOrProviderIsRefused)
{
    createOrphan("s");
    for (const char* key : {"host", "catalog", "provider"}) {
        plan();
        rewrite([key](json& document) { document[key] = "another"; });
        const SRun run = apply();
        EXPECT_EQ(run.exit, 13);
        EXPECT_TRUE(run.message().starts_with(std::string("the plan is for ") + key + " \"another\", and this is "))
            << run.message();
    }
    EXPECT_EQ(objects().size(), 1U);
}

TEST_F(CReconcilePlanTest, ARecordThatMayHaveToThawIsLeftToAPerson)
{
    const std::string checkpoint = create("s");
    fs::remove(fake("objects/ap1.g1." + checkpoint));
    change("UPDATE snapshot SET thaw = 'db-quiet off'");
    EXPECT_EQ(plan()["steps"], json::array());
}

TEST_F(CReconcilePlanTest, RemovesAFileThatACommandHasLeft)
{
    const std::string document = m_root + "/tmp/run.document";
    create("s");
    ASSERT_EQ(fictl({"snapshot", "export", "s", "--file", document}).exit, 0);
    changeHistory("UPDATE history SET ended = 0, pid = 1, start_time = 1, owner_lock = 0 WHERE id = 2");
    const std::string part = document + ".part";
    base_test::writeFile(part, "half");
    fs::permissions(part, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(namesOf(plan()), std::vector<std::string>{"remove file " + part});
    base_test::writeFile(part, "more");
    EXPECT_TRUE(resultsOf(apply())[0].starts_with("skipped: what is known of it is not what it was: "));
    EXPECT_TRUE(fs::exists(part));
    plan();
    EXPECT_EQ(resultsOf(apply()), Results{"done"});
    EXPECT_FALSE(fs::exists(part));
    EXPECT_EQ(resultsOf(apply()), Results{"gone"});
}

TEST_F(CReconcilePlanTest, APlanThatCannotBeWrittenIsSaid)
{
    EXPECT_EQ(fictl({"reconcile", "--plan", m_root + "/none/plan.json"}).exit, 14);
}

TEST_F(CReconcilePlanTest, OptionsThatExcludeEachOtherAreRefused)
{
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"--plan", "a", "--apply", "b"},
                                               {"--plan", "a", "--adopt", "b", "--as", "c"},
                                               {"--adopt", "b"},
                                               {"--as", "c"},
                                               {"--group", "g1"},
                                               {"--appliance", "ap1"},
                                               {"--plan", "a", "--group", "g1"}}) {
        std::vector<std::string> all = {"reconcile"};
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_EQ(fictl(all).exit, 2) << testing::PrintToString(words);
    }
}

}  // namespace
