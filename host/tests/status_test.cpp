// What "fictl status" tells of snapshots and jobs, in each of its forms.
#include <sys/stat.h>

#include <ctime>

#include "host/tests/catalog_fixture.h"

namespace fs = std::filesystem;

namespace {

using nlohmann::json;
using Lines = std::vector<std::string>;

class CStatusTest : public CCatalogTest
{
  protected:
    /// A job whose file was changed so many hours ago.
    void addJob(const std::string& name, const std::string& text, int hours = 0) const
    {
        const fs::path file = m_root + "/etc/qz/jobs/" + name + ".env";
        fs::create_directories(file.parent_path());
        base_test::writeFile(file, text);
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(hours));
    }
    void addDailyJob(const std::string& name, int hours = 0) const
    {
        addJob(name, "SNAPSHOT=\"" + name + "-{n}\"\nDEVICES=\"/dev/fake1\"\nEVERY=1d\n", hours);
    }
    void addRotatedJob(const std::string& name, int hours = 0) const
    {
        addJob(name,
               "SNAPSHOT=\"" + name + "-{n}\"\nDEVICES=\"/dev/fake1\"\nEVERY=1d\nPRUNE_OPTIONS=\"--keep-last 1\"\n",
               hours);
    }
    /// A rotation of a job, as its unit makes one.
    int prune(const std::string& job) const
    {
        return fictl({"snapshot", "prune", "--label", "job=" + job, "--keep-last", "1"}).exit;
    }
    /// A run of a job, as its unit makes one.
    int run(const std::string& job, const std::string& snapshot) const
    {
        return fictl({"snapshot", "create", "--label", "job=" + job, "--", snapshot, "/dev/fake1"}).exit;
    }
    /// Everything of the catalog that has happened took place so many hours earlier.
    void passHours(int hours) const
    {
        const std::string by = "'-" + std::to_string(hours) + " hours')";
        change("DROP TRIGGER IF EXISTS history_is_kept");
        change("UPDATE history SET started = strftime('%Y-%m-%dT%H:%M:%SZ', started, " + by);
        change("UPDATE snapshot SET created = strftime('%Y-%m-%dT%H:%M:%SZ', created, " + by);
    }
    SRun status(const Lines& more = {}) const
    {
        Lines words = {"status"};
        words.insert(words.end(), more.begin(), more.end());
        return fictl(words);
    }
    json document() const { return fictlJson({"status"}).document()["status"]; }
    /// "name state" of each job.
    Lines jobStates() const
    {
        Lines lines;
        const json status = document();
        for (const json& job : status["jobs"]) {
            lines.push_back(job["name"].get<std::string>() + " " + job["state"].get<std::string>());
        }
        return lines;
    }
    /// "what: reason; next" of each thing that needs a look.
    Lines concerns() const
    {
        Lines lines;
        const json status = document();
        for (const json& each : status["needs_a_look"]) {
            const bool isOfSnapshot = each["snapshot"].is_string();
            lines.push_back(each[isOfSnapshot ? "snapshot" : "job"].get<std::string>() + ": " +
                            each["reason"].get<std::string>() + "; " + each["next"].get<std::string>());
        }
        return lines;
    }
};

TEST_F(CStatusTest, TellsThatThereIsNothingAndMakesNoCatalog)
{
    const SRun run = status();
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.out, "SNAPSHOTS  0\nOLDEST     -\nNEWEST     -\nJOBS       0\n");
    EXPECT_EQ(run.err, "");
    EXPECT_FALSE(fs::exists(m_root + "/var"));
    EXPECT_EQ(
        document(),
        (json{{"snapshots",
               {{"count", 0}, {"states", json::object()}, {"unreadable", 0}, {"oldest", nullptr}, {"newest", nullptr}}},
              {"imported", json::array()},
              {"needs_a_look", json::array()},
              {"jobs", json::array()},
              {"ok", true}}));
}

TEST_F(CStatusTest, TellsForPeopleWhatThereIs)
{
    addDailyJob("db");
    ASSERT_EQ(run("db", "db-1"), 0);
    passHours(49);
    ASSERT_EQ(run("db", "db-2"), 0);
    ASSERT_EQ(fictl({"snapshot", "import", "db-1"}).exit, 0);
    passHours(1);
    arm("make:g1 killed-after\n");
    EXPECT_EQ(fictl({"snapshot", "create", "other", "/dev/fake2"}).exit, 1000 + SIGKILL);
    const std::string db1 = textOf("SELECT created FROM snapshot WHERE name = 'db-1'");
    const std::string db2 = textOf("SELECT created FROM snapshot WHERE name = 'db-2'");
    const std::string copy = textOf("SELECT import_path FROM device WHERE snapshot = 'db-1'");
    const json job = document()["jobs"][0];
    const SRun told = status();
    EXPECT_EQ(told.exit, 0);
    EXPECT_EQ(told.err, "");
    EXPECT_EQ(told.out,
              "SNAPSHOTS  3 (1 complete, 1 imported, 1 interrupted)\n"
              "OLDEST     db-1, " +
                  db1 +
                  ", 2d ago\n"
                  "NEWEST     db-2, " +
                  db2 +
                  ", 1h ago\n"
                  "JOBS       1 (1 ok)\n"
                  "\n"
                  "IMPORTED  AS\n"
                  "db-1      " +
                  copy +
                  "\n"
                  "\n"
                  "NEEDS A LOOK    WHY                NEXT\n"
                  "snapshot other  it is interrupted  fictl snapshot delete other\n"
                  "\n"
                  "JOB  STATE  LAST RUN              EXIT  LAST GOOD RUN         NEXT DUE              SNAPSHOTS  LAST "
                  "ROTATION\n"
                  "db   ok     " +
                  job["last_run"]["started"].get<std::string>() + "  0     " +
                  job["last_good_run"]["started"].get<std::string>() + "  " + job["next_due"].get<std::string>() +
                  "  2          -\n");
}

TEST_F(CStatusTest, AFailedRunIsToldUntilOneIsGood)
{
    addDailyJob("db");
    addDailyJob("new");
    arm("make:g1 fail busy\n");
    EXPECT_EQ(run("db", "db-1"), 8);
    const SRun failed = fictlJson({"status"});
    EXPECT_EQ(failed.exit, 8);
    const json job = failed.document()["status"]["jobs"][0];
    EXPECT_EQ(job["last_run"]["exit"], 8);
    EXPECT_EQ(job["last_run"]["end"], "failed");
    EXPECT_EQ(job["last_run"]["snapshot"], "db-1");
    EXPECT_EQ(job["last_good_run"], nullptr);
    EXPECT_EQ(failed.document()["status"]["ok"], false);
    EXPECT_EQ(jobStates(), (Lines{"db failed", "new never ran"}));
    ASSERT_EQ(concerns().size(), 1U);
    EXPECT_TRUE(concerns()[0].starts_with("db: its last run failed: snapshot \"db-1\": ")) << concerns()[0];
    EXPECT_TRUE(concerns()[0].ends_with("; fictl history db-1")) << concerns()[0];
    arm("");
    EXPECT_EQ(run("db", "db-1"), 0);
    EXPECT_EQ(jobStates(), (Lines{"db ok", "new never ran"}));
    EXPECT_EQ(status().exit, 0);
    EXPECT_EQ(concerns(), Lines{});
}

TEST_F(CStatusTest, AKilledRunIsAFailedOne)
{
    addDailyJob("db");
    arm("make:g1 killed-after\n");
    EXPECT_EQ(run("db", "db-1"), 1000 + SIGKILL);
    EXPECT_EQ(jobStates(), Lines{"db failed"});
    EXPECT_EQ(concerns(), (Lines{"db: its last run did not end; fictl history db-1",
                                 "db-1: it is interrupted; fictl snapshot delete db-1"}));
    EXPECT_NE(status().out.find("  did not end  -  "), std::string::npos) << status().out;
}

TEST_F(CStatusTest, ARunAtWorkIsShownAsRunning)
{
    addDailyJob("db");
    arm("make:g1 wait here\n");
    startHeld({"snapshot", "create", "db-1", "/dev/fake1", "--label=job=db"});
    release();
    waitForFile("here.reached");
    EXPECT_EQ(document()["jobs"][0]["last_run"]["end"], "running");
    EXPECT_EQ(document()["jobs"][0]["last_run"]["exit"], nullptr);
    EXPECT_EQ(jobStates(), Lines{"db ok"});
    touch("here");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(document()["jobs"][0]["last_run"]["end"], "good");
}

TEST_F(CStatusTest, AMissedRunIsToldWithTheTimeSinceWhenItIsDue)
{
    addDailyJob("db", 100);
    addDailyJob("never", 31);
    addDailyJob("young", 29);
    ASSERT_EQ(run("db", "db-1"), 0);
    passHours(31);
    const SRun run = fictlJson({"status"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(jobStates(), (Lines{"db missed", "never missed", "young never ran"}));
    const json job = document()["jobs"][0];
    ASSERT_EQ(job["missing"].size(), 1U);
    EXPECT_EQ(job["missing"][0]["from"], job["next_due"]);
    EXPECT_EQ(job["missing"][0]["overdue"], true);
    EXPECT_EQ(job["every_seconds"], 86400);
    EXPECT_EQ(job["grace_seconds"], 21600);
    EXPECT_EQ(concerns()[0], "db: no run has begun since one was due at " + job["next_due"].get<std::string>() +
                                 "; see whether its timer is on, or its line of cron is there");
}

TEST_F(CStatusTest, ThatNobodyUnderstandsAJobIsAConcern)
{
    addJob("db", "SNAPSHOT=db\nEVRY=1d\n");
    addJob("no name", "SNAPSHOT=db\n");
    addJob(".#db", "an editor's lock");
    addJob("", "hidden, too");
    base_test::writeFile(m_root + "/etc/qz/jobs/README", "no job");
    fs::create_directories(m_root + "/etc/qz/jobs/folder.env");
    EXPECT_EQ(status().exit, 8);
    EXPECT_EQ(jobStates(), (Lines{"db unusable", "folder unusable", "no name unusable"}));
    const std::string folder = m_root + "/etc/qz/jobs/";
    EXPECT_EQ(
        concerns(),
        (Lines{"db: line 2: \"EVRY\" is not known; mend " + folder + "db.env",
               "folder: not a regular file; mend " + folder + "folder.env",
               "no name: a job's name is 1 to 64 letters, digits or ._-, the first one a letter or a digit; mend " +
                   folder + "no name.env"}));
}

TEST_F(CStatusTest, AnApplicationThatMayBeFrozenIsTold)
{
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "secret; false"}).exit, 12);
    const Lines told = concerns();
    ASSERT_GE(told.size(), 1U);
    EXPECT_EQ(told[0],
              "s: its application may still be frozen; run the thaw command of fictl snapshot show s if it is");
    EXPECT_EQ(status().out.find("secret"), std::string::npos);
    EXPECT_EQ(status().exit, 0) << "it is about no job";
}

TEST_F(CStatusTest, ARotationThatFailedIsToldAsLongAsTheSnapshotIsThere)
{
    addDailyJob("db");
    ASSERT_EQ(run("db", "db-1"), 0);
    passHours(1);
    ASSERT_EQ(run("db", "db-2"), 0);
    const std::string checkpoint = textOf("SELECT checkpoint FROM snapshot WHERE name = 'db-1'");
    const std::string suffix = checkpoint.substr(checkpoint.rfind('_') + 1);
    putImage("ap1", "g1", suffix, "elsewhere");
    EXPECT_EQ(fictl({"snapshot", "prune", "--label", "job=db", "--keep-last", "1"}).exit, 5);
    ASSERT_EQ(concerns().size(), 1U);
    EXPECT_TRUE(concerns()[0].starts_with("db-1: its rotation could not delete it: ")) << concerns()[0];
    EXPECT_EQ(status().exit, 0) << "the job has its snapshots";
    EXPECT_EQ(fictl({"snapshot", "delete", "db-1", "--even-if-in-use"}).exit, 0);
    EXPECT_EQ(concerns(), Lines{});
    passHours(1);
    ASSERT_EQ(run("db", "db-1"), 0);
    EXPECT_EQ(concerns(), Lines{}) << "it is another one of that name";
}

TEST_F(CStatusTest, OptionsMayStandBetweenTheWordsOfARun)
{
    addDailyJob("db");
    ASSERT_EQ(fictl({"snapshot", "--verbose", "-o", "json", "--timeout", "60", "create", "--label=job=db", "db-1",
                     "/dev/fake1"})
                  .exit,
              0);
    EXPECT_EQ(jobStates(), Lines{"db ok"});
}

TEST_F(CStatusTest, AFailureIsThatOfTheLastRunThatHasEnded)
{
    addDailyJob("db");
    arm("make:g1 fail busy\n");
    EXPECT_EQ(run("db", "db-1"), 8);
    arm("make:g1 wait here\n");
    startHeld({"snapshot", "create", "db-2", "/dev/fake1", "--label=job=db"});
    release();
    waitForFile("here.reached");
    EXPECT_EQ(jobStates(), Lines{"db failed"});
    EXPECT_TRUE(concerns()[0].starts_with("db: its last run failed: snapshot \"db-1\": ")) << concerns()[0];
    EXPECT_TRUE(concerns()[0].ends_with("; fictl history db-1")) << concerns()[0];
    touch("here");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(jobStates(), Lines{"db ok"});
}

TEST_F(CStatusTest, AJobWhoseRunsAreNotInTheHistoryAnyMoreIsJudgedByItsSnapshots)
{
    addJob("db", "SNAPSHOT=db-{n}\nDEVICES=/dev/fake1\nEVERY=31d\n", 2000);
    ASSERT_EQ(run("db", "db-1"), 0);
    passHours(24 * 30);
    change("DELETE FROM history");
    EXPECT_EQ(jobStates(), Lines{"db ok"});
    EXPECT_EQ(document()["jobs"][0]["last_run"]["snapshot"], "db-1");
    passHours(24 * 10);
    EXPECT_EQ(jobStates(), Lines{"db missed"});
}

TEST_F(CStatusTest, ARotationIsSeenAlsoWhenItHasNothingToDelete)
{
    addRotatedJob("db", 25);
    ASSERT_EQ(run("db", "db-1"), 0);
    EXPECT_EQ(jobStates(), Lines{"db ok"}) << "none is missed yet";
    EXPECT_EQ(document()["jobs"][0]["rotation"]["last_run"], nullptr);
    EXPECT_EQ(prune("db"), 0);
    const json rotation = document()["jobs"][0]["rotation"];
    EXPECT_EQ(rotation["state"], "ok");
    EXPECT_EQ(rotation["last_run"]["end"], "good");
    EXPECT_EQ(rotation["every_seconds"], 86400);
    EXPECT_EQ(rotation["grace_seconds"], 21600);
    EXPECT_NE(status().out.find("  1          " + rotation["last_run"]["started"].get<std::string>() + "\n"),
              std::string::npos)
        << status().out;
    const std::string numbers = status({"--output", "openmetrics"}).out;
    EXPECT_NE(numbers.find("\nfictl_job_last_rotation_exit_code{job=\"db\"} 0\n"), std::string::npos) << numbers;
    EXPECT_NE(numbers.find("\nfictl_job_next_rotation_due_timestamp_seconds{job=\"db\"} "), std::string::npos);
}

TEST_F(CStatusTest, AMissedRotationIsToldWithTheTimeSinceWhenItIsDue)
{
    addRotatedJob("db", 100);
    addRotatedJob("never", 31);
    ASSERT_EQ(run("db", "db-1"), 0);
    ASSERT_EQ(run("never", "never-1"), 0);
    ASSERT_EQ(prune("db"), 0);
    passHours(31);
    ASSERT_EQ(run("db", "db-2"), 0);
    ASSERT_EQ(run("never", "never-2"), 0);
    EXPECT_EQ(status().exit, 8);
    EXPECT_EQ(jobStates(), (Lines{"db missed", "never missed"}));
    const json job = document()["jobs"][0];
    EXPECT_EQ(job["rotation"]["state"], "missed");
    EXPECT_EQ(job["rotation"]["missing"][0]["overdue"], true);
    EXPECT_EQ(concerns()[0], "db: no rotation has begun since one was due at " +
                                 job["rotation"]["next_due"].get<std::string>() +
                                 "; see whether its timer is on, or its line of cron is there");
    ASSERT_EQ(prune("db"), 0);
    ASSERT_EQ(prune("never"), 0);
    EXPECT_EQ(status().exit, 0);
}

TEST_F(CStatusTest, AFailedRotationIsToldUntilOneIsGood)
{
    addRotatedJob("db");
    ASSERT_EQ(run("db", "db-1"), 0);
    passHours(1);
    ASSERT_EQ(run("db", "db-2"), 0);
    arm("delete-annotation:g1 fail busy\n");
    EXPECT_EQ(prune("db"), 10);
    EXPECT_EQ(status().exit, 8);
    EXPECT_EQ(jobStates(), Lines{"db failed"});
    EXPECT_EQ(concerns()[0], "db: its last rotation ended with exit code 10; fictl history");
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "db-1"}).exit, 0);
    EXPECT_EQ(prune("db"), 0);
    EXPECT_EQ(jobStates(), Lines{"db ok"});
    EXPECT_EQ(concerns(), Lines{});
}

TEST_F(CStatusTest, AKilledRotationIsAFailedOne)
{
    addRotatedJob("db");
    ASSERT_EQ(run("db", "db-1"), 0);
    passHours(1);
    ASSERT_EQ(run("db", "db-2"), 0);
    arm("delete-annotation:g1 killed\n");
    EXPECT_EQ(prune("db"), 1000 + SIGKILL);
    EXPECT_EQ(jobStates(), Lines{"db failed"});
    EXPECT_EQ(concerns()[0], "db: its last rotation did not end; fictl history");
}

TEST_F(CStatusTest, AJobWithoutOptionsForItHasNoRotation)
{
    addDailyJob("db", 100);
    ASSERT_EQ(run("db", "db-1"), 0);
    EXPECT_EQ(document()["jobs"][0]["rotation"], nullptr);
    EXPECT_EQ(status().exit, 0);
    EXPECT_EQ(status({"--output", "openmetrics"}).out.find("_rotation_"), std::string::npos);
}

TEST_F(CStatusTest, RotationsOfAnEarlierFictlAreSeenByTheirDeletions)
{
    addRotatedJob("db", 100);
    ASSERT_EQ(run("db", "db-1"), 0);
    passHours(1);
    ASSERT_EQ(run("db", "db-2"), 0);
    ASSERT_EQ(prune("db"), 0);
    change("DELETE FROM history WHERE snapshot = ''");
    EXPECT_EQ(jobStates(), Lines{"db ok"});
    EXPECT_EQ(document()["jobs"][0]["rotation"]["last_run"]["snapshot"], "db-1");
}

TEST_F(CStatusTest, ARecordThatCannotBeReadIsToldWithTheOthers)
{
    ASSERT_EQ(run("db", "db-1"), 0);
    ASSERT_EQ(run("db", "db-2"), 0);
    change("UPDATE snapshot SET state = 'odd' WHERE name = 'db-1'");
    const SRun told = status();
    EXPECT_EQ(told.exit, 11);
    EXPECT_NE(told.out.find("SNAPSHOTS  2 (1 complete, 1 unreadable)\n"), std::string::npos) << told.out;
    EXPECT_NE(told.out.find("snapshot db-1  its record cannot be read: "), std::string::npos) << told.out;
}

TEST_F(CStatusTest, AsksNoApplianceForAnything)
{
    addDailyJob("db");
    ASSERT_EQ(run("db", "db-1"), 0);
    const size_t before = calls().size();
    status();
    EXPECT_EQ(calls().size(), before);
}

TEST_F(CStatusTest, NumbersAreThoseOfTheOtherForms)
{
    addDailyJob("db");
    addJob("odd", "");
    ASSERT_EQ(run("db", "db-1"), 0);
    const SRun metrics = status({"--output", "openmetrics"});
    EXPECT_EQ(metrics.exit, 8);
    const auto has = [&](const std::string& line) {
        EXPECT_NE(("\n" + metrics.out).find("\n" + line + "\n"), std::string::npos) << line << " in\n" << metrics.out;
    };
    has("# TYPE fictl_snapshots gauge");
    has("fictl_snapshots{state=\"complete\"} 1");
    has("fictl_snapshots{state=\"import-failed\"} 0");
    has("fictl_snapshots_in_need 0");
    has("fictl_job_state{job=\"db\",state=\"ok\"} 1");
    has("fictl_job_state{job=\"db\",state=\"missed\"} 0");
    has("fictl_job_state{job=\"odd\",state=\"unusable\"} 1");
    has("fictl_job_last_run_exit_code{job=\"db\"} 0");
    has("# UNIT fictl_job_next_due_timestamp_seconds seconds");
    std::tm parts{};
    const std::string due = document()["jobs"][0]["next_due"];
    ASSERT_NE(strptime(due.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts), nullptr);
    has("fictl_job_next_due_timestamp_seconds{job=\"db\"} " + std::to_string(timegm(&parts)));
    EXPECT_TRUE(metrics.out.ends_with("\n# EOF\n"));
    EXPECT_EQ(fictl({"snapshot", "list", "--output", "openmetrics"}).err,
              "fictl: --output openmetrics is for status\n  next: fictl --help\n");
    EXPECT_EQ(status({"--output", "name"}).err, "fictl: --output name is for snapshot list\n  next: fictl --help\n");
}

TEST_F(CStatusTest, AFileIsReplacedAsAWhole)
{
    const std::string file = m_root + "/tmp/fictl.prom";
    base_test::writeFile(file, "old");
    const SRun run = status({"--output", "openmetrics", "--file", file});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(base_test::contentOf(file), status({"--output", "openmetrics"}).out);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0644)) << "who collects numbers is another user";
    EXPECT_EQ(status({"--file", file}).exit, 0);
    EXPECT_EQ(base_test::contentOf(file), status().out);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    EXPECT_EQ(fictlJson({"status", "--file", file}).document(),
              (json{{"schema_version", 1}, {"written", {{"file", file}}}}));
    EXPECT_EQ(json::parse(base_test::contentOf(file))["status"], document());
    EXPECT_FALSE(fs::exists(file + ".part"));
    fs::remove(file);
    fs::create_symlink(m_root + "/elsewhere", file);
    EXPECT_EQ(status({"--file", file}).exit, 14);
    EXPECT_TRUE(fs::is_symlink(file));
    begin();
    base_test::writeFile(m_root + "/tmp/kept", "kept");
    change("PRAGMA user_version = 99");
    EXPECT_EQ(status({"--file", m_root + "/tmp/kept"}).exit, 11);
    EXPECT_EQ(base_test::contentOf(m_root + "/tmp/kept"), "kept");
}

}  // namespace
