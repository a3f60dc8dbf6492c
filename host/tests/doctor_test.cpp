// fictl doctor: a line for whatever can be wrong with a site, and none too many for one that is sound.
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "host/tests/canned_inspector.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

class CDoctorTest : public CInspectedTest
{
  protected:
    void SetUp() override
    {
        CInspectedTest::SetUp();
        m_list = m_root + "/etc/qz/hls.conf";
        m_store = m_root + "/etc/qz/fakefi.conf";
        m_tool = m_root + "/tool/shell";
        fs::create_directories(m_root + "/etc/qz");
        fs::create_directories(m_root + "/tool");
        fs::create_directories(m_root + "/var/log/qz");
        for (const std::string& file : {m_list, m_store, m_tool}) {
            writeFile(file, "");
        }
        json& configuration = m_seen["configuration"];
        configuration["files"] = {file(m_list, true), file(m_store, true)};
        configuration["values"] = {
            {{"name", "X/PATH"}, {"value", m_root + "/tool/"}, {"file", m_store}, {"line", 2}},
            {{"name", "FI_TRACE/FILE"}, {"value", "/var/log/qz/x.log"}, {"file", nullptr}, {"line", nullptr}},
            {{"name", "FI_TRACE/MAX_SIZE"}, {"value", "100"}, {"file", nullptr}, {"line", nullptr}}};
        configuration["appliances"] = {{{"name", "ap1"}, {"port", "9000"}, {"file", m_list}, {"line", 3}}};
        m_seen["tools"] = {tool("lmsh", m_tool), tool("lmsh-fixed", m_root + "/fixed/lmsh")};
        m_seen["appliances"] = {appliance("ap1")};
        m_seen["appliances"][0]["groups"] = {group("g1", {"S1"})};
        m_seen["disks"]["devices"] = {{{"path", "/dev/fake1"}, {"serial", "S1"}}};
    }

    static json file(const std::string& path, bool isRead)
    {
        return {{"path", path}, {"read", isRead}, {"reason", isRead ? json() : json("Permission denied")}};
    }

    static json tool(const std::string& name, const std::string& path)
    {
        return {{"name", name},    {"path", path},    {"exists", true},   {"executable", true},
                {"answers", true}, {"seconds", 0.02}, {"reason", nullptr}};
    }

    std::string catalog() const { return m_root + "/var/lib/qz/fictl.db"; }

    /// The doctor's lines that are not OK.
    std::vector<std::string> complaints() const
    {
        setInspection();
        return complaintsOf(fictl({"doctor"}));
    }

    static std::vector<std::string> complaintsOf(const SRun& run)
    {
        std::vector<std::string> lines;
        std::istringstream text(run.out);
        bool isHealthy = true;
        for (std::string line; std::getline(text, line);) {
            if (!line.starts_with("OK   ")) lines.push_back(line);
            isHealthy = isHealthy && !line.starts_with("FAIL ");
        }
        EXPECT_EQ(run.exit, isHealthy ? 0 : 8) << run.out << run.err;
        EXPECT_EQ(run.err, "");
        return lines;
    }

    void expectComplaint(const std::string& line) const { EXPECT_EQ(complaints(), std::vector<std::string>{line}); }

    std::string m_list;  // files of the configuration
    std::string m_store;
    std::string m_tool;
};

TEST_F(CDoctorTest, ASoundSiteIsAllOk)
{
    setInspection();
    const SRun run = fictl({"doctor"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::string temporary = std::getenv("TMPDIR") == nullptr ? "/tmp" : std::getenv("TMPDIR");
    EXPECT_EQ(run.out, "OK   inspector " + inspector() +
                           " answers\n"
                           "OK   " +
                           m_list +
                           ": is read\n"
                           "OK   " +
                           m_store +
                           ": is read\n"
                           "OK   tool lmsh: " +
                           m_tool +
                           " answers, in 0.02 s\n"
                           "OK   tool lmsh-fixed: " +
                           m_root +
                           "/fixed/lmsh is there\n"
                           "OK   this host is \"production\"\n"
                           "OK   appliance \"ap1\" answers: 1 consistency group\n"
                           "OK   appliance \"ap1\" knows this host as \"production\", by its name\n"
                           "OK   1 disk of this host can be told\n"
                           "OK   folder of the trace file " +
                           m_root +
                           "/var/log/qz can be written to\n"
                           "OK   temporary folder " +
                           temporary +
                           " can be written to\n"
                           "OK   folder of the catalog " +
                           m_root +
                           "/var/lib/qz can be made\n"
                           "OK   there is no catalog yet; the first snapshot begins it\n"
                           "OK   provider \"fakefi\" (" +
                           provider() + ") loads with all its entry points and starts\n");
    EXPECT_FALSE(fs::exists(m_root + "/var/lib")) << "the doctor makes no catalog";
    EXPECT_EQ(inspectorCalls(), "--timeout=20\n");
}

TEST_F(CDoctorTest, TheDocumentHasEveryCheck)
{
    m_seen["configuration"]["commented_appliances"] = {
        {{"file", m_list}, {"line", 7}, {"text", "#RSURL=old"}, {"appliance", "old"}}};
    setInspection();
    const SRun run = fictlJson({"doctor"});
    EXPECT_EQ(run.exit, 0);
    const json document = run.document();
    EXPECT_EQ(document.at("schema_version"), 1);
    EXPECT_EQ(document.at("doctor").at("ok"), true);
    const json& checks = document.at("doctor").at("checks");
    EXPECT_EQ(checks.size(), 15U);
    const json expected = {{"level", "WARN"},
                           {"name", "configuration"},
                           {"text", "looks like a comment and still names the appliance \"old\""},
                           {"file", m_list},
                           {"line", 7},
                           {"next", "take the line away, if that appliance is not meant"}};
    EXPECT_NE(std::find(checks.begin(), checks.end(), expected), checks.end()) << checks;
}

TEST_F(CDoctorTest, AnUnreadableFileIsNamed)
{
    m_seen["configuration"]["files"][1] = file(m_store, false);
    expectComplaint("FAIL " + m_store +
                    ": is not read: Permission denied; next: make it a regular file that this user can read");
}

TEST_F(CDoctorTest, AFileThatIsNotThereIsNoFault)
{
    fs::remove(m_store);
    m_seen["configuration"]["files"][1] = file(m_store, false);
    EXPECT_TRUE(complaints().empty());
}

TEST_F(CDoctorTest, ALineThatCannotBeUnderstoodIsShown)
{
    m_seen["configuration"]["unreadable_lines"] = {{{"file", m_store}, {"line", 4}, {"text", "LEVEL\x01 6"}}};
    expectComplaint(
        "WARN " + m_store +
        ":4: cannot be understood and is skipped: \"LEVEL\\x01 6\"; next: correct the line, or take it away");
}

TEST_F(CDoctorTest, ACommentedLineThatStillCountsIsShown)
{
    m_seen["configuration"]["commented_appliances"] = {
        {{"file", m_list}, {"line", 1}, {"text", "#RSURL=old"}, {"appliance", "old"}}};
    expectComplaint("WARN " + m_list +
                    ":1: looks like a comment and still names the appliance \"old\"; next: take the line away, if that "
                    "appliance is not meant");
}

TEST_F(CDoctorTest, ASiteWithoutAppliancesIsToldWhereTheyGo)
{
    m_seen["configuration"]["appliances"] = json::array();
    m_seen["appliances"] = json::array();
    expectComplaint("FAIL " + m_list +
                    ": no appliance is configured; next: name each one there, in a line RSURL=<appliance>:<port>");
}

TEST_F(CDoctorTest, AMissingToolIsToldWithTheLineThatNamesIt)
{
    m_seen["tools"][0]["exists"] = false;
    m_seen["tools"][0]["reason"] = "No such file or directory";
    expectComplaint("FAIL " + m_store + ":2: tool lmsh: " + m_tool +
                    ": No such file or directory; next: install it there, or set its folder and name in the provider's "
                    "configuration");
}

TEST_F(CDoctorTest, AToolThatCannotBeRunIsTold)
{
    m_seen["tools"][0]["executable"] = false;
    m_seen["tools"][0]["reason"] = "Permission denied";
    expectComplaint("FAIL " + m_store + ":2: tool lmsh: " + m_tool +
                    " cannot be run: Permission denied; next: chmod +x " + m_tool);
}

TEST_F(CDoctorTest, AToolThatDoesNotAnswerIsTold)
{
    m_seen["tools"][0]["answers"] = false;
    m_seen["tools"][0]["reason"] = "no answer within 20 s";
    expectComplaint("FAIL " + m_store + ":2: tool lmsh: " + m_tool +
                    " does not answer: no answer within 20 s; next: run it by hand, as this user");
}

TEST_F(CDoctorTest, ASlowToolIsAWarning)
{
    m_seen["tools"][0]["seconds"] = 45.678;
    expectComplaint("WARN tool lmsh: " + m_tool + " needs 45.68 s for an answer; next: find out what keeps it so long");
}

TEST_F(CDoctorTest, TheFixedPathOfTheShellIsInsistedOn)
{
    const std::string fixed = m_root + "/fixed/lmsh";
    m_seen["tools"][1]["exists"] = false;
    m_seen["tools"][1]["reason"] = "No such file or directory";
    expectComplaint("FAIL tool lmsh-fixed: " + fixed +
                    ": No such file or directory; the provider insists on this path, also beside a configured one; "
                    "next: mkdir -p " +
                    m_root + "/fixed && ln -s " + m_tool + " " + fixed);
}

TEST_F(CDoctorTest, AHostWithoutANameIsTold)
{
    m_seen["host"] = {{"name", nullptr}, {"further_names", json::array()}, {"reason", "the resolver does not answer"}};
    expectComplaint(
        "FAIL this host has no name: the resolver does not answer; next: set LOCAL_NAME in section FI_NETWORK of the "
        "provider's configuration");
}

TEST_F(CDoctorTest, AHostThatTheResolverDoesNotKnowIsAWarning)
{
    m_seen["host"]["reason"] = "the resolver knows no address of production";
    expectComplaint(
        "WARN this host is \"production\", but the resolver knows no address of production; next: make it known to the "
        "resolver, if appliances know this host by an address only");
}

TEST_F(CDoctorTest, AnApplianceThatDoesNotKnowThisHostIsTold)
{
    m_seen["appliances"][0]["host_here"] = nullptr;
    expectComplaint(
        "FAIL appliance \"ap1\" knows no host \"production\", nor one with an address of it; next: make this host "
        "known "
        "there by that name, or set LOCAL_NAME in section FI_NETWORK of the provider's configuration to the name that "
        "the appliance has for it");
}

TEST_F(CDoctorTest, AHostThatIsKnownByItsAddressIsFine)
{
    m_seen["appliances"][0]["host_here"]["by"] = "address";
    EXPECT_TRUE(complaints().empty());
    EXPECT_NE(fictl({"doctor"}).out.find("knows this host as \"production\", by an address that both have\n"),
              std::string::npos);
}

TEST_F(CDoctorTest, ADeadApplianceIsToldWithTheLineThatNamesIt)
{
    json& dead = m_seen["appliances"][0];
    dead["reachable"] = false;
    dead["groups_read"] = false;
    dead["hosts_read"] = false;
    dead["host_here"] = nullptr;
    dead["reason"] = "no answer within 20 s";
    expectComplaint(
        "FAIL " + m_list +
        ":3: appliance \"ap1\" does not answer: no answer within 20 s; next: see that its name and port are "
        "right there, that it is up, and that this host reaches it");
}

TEST_F(CDoctorTest, AnAnswerThatIsNoListingIsShown)
{
    json& odd = m_seen["appliances"][0];
    odd["groups_read"] = false;
    odd["reason"] = "the answer is no listing";
    odd["not_listings"] = {{{"command", "list cgroups"}, {"lines", {"Welcome to ap1", "Last login: today"}}}};
    expectComplaint(
        "FAIL " + m_list +
        ":3: appliance \"ap1\": the answer to \"list cgroups\" is no listing; it begins \"Welcome to ap1\"; "
        "next: see what stands between this host and the appliance, such as a login banner");
}

TEST_F(CDoctorTest, AGroupThatCannotBeReadIsAWarning)
{
    m_seen["appliances"][0]["groups"][0]["read"] = false;
    m_seen["appliances"][0]["groups"][0]["reason"] = "status 1";
    expectComplaint(
        "WARN appliance \"ap1\": group \"g1\" could not be read: status 1; next: run the doctor again; if it stays, "
        "look "
        "at the group on the appliance");
}

TEST_F(CDoctorTest, AnAmbiguousLunIsAWarning)
{
    m_seen["ambiguous"] = {{{"serial", "S1"}, {"reason", "a group has the name S1"}, {"places", json::array()}}};
    expectComplaint(
        "WARN LUN \"S1\": a group has the name S1; next: give the group another name: no snapshot of this LUN is "
        "taken");
}

TEST_F(CDoctorTest, DisksThatCannotBeToldAreTold)
{
    m_seen["disks"] = {{"read", false}, {"reason", "kforutil exited with status 1"}, {"devices", json::array()}};
    expectComplaint(
        "FAIL the disks of this host cannot be told: kforutil exited with status 1; next: see what the disk utility "
        "says "
        "when it is run by hand, as this user");
}

TEST_F(CDoctorTest, WhatAnybodyCanChangeIsAWarning)
{
    fs::permissions(m_list, fs::perms(0666));
    expectComplaint("WARN configuration " + m_list + " can be changed by anybody (mode 0666); next: chmod o-w " +
                    m_list);
    fs::permissions(m_list, fs::perms(0644));
    fs::permissions(m_tool, fs::perms(0777));
    expectComplaint("WARN tool " + m_tool + " can be changed by anybody (mode 0777); next: chmod o-w " + m_tool);
}

TEST_F(CDoctorTest, FictlsOwnConfigurationMustBeAFile)
{
    const std::string file = m_root + "/etc/qz/fictl.conf";
    writeFile(file, "[RECEIVE]\n");
    EXPECT_TRUE(complaints().empty());
    fs::permissions(file, fs::perms(0666));
    expectComplaint("WARN configuration " + file + " can be changed by anybody (mode 0666); next: chmod o-w " + file);
    fs::remove(file);
    fs::create_directory(file);
    expectComplaint(
        "FAIL " + file +
        ": is not read, so nothing that it sets holds; next: make it a regular file that this user can read");
}

TEST_F(CDoctorTest, ATemporaryFolderThatIsNotThereIsTold)
{
    setenv("TMPDIR", (m_root + "/nosuch").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    expectComplaint("FAIL temporary folder " + m_root +
                    "/nosuch: no file can be made: No such file or directory; next: name a folder that this user can "
                    "write to in the environment variable TMPDIR");
    unsetenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
}

TEST_F(CDoctorTest, ATraceFileThatIsNoneIsAWarning)
{
    const std::string file = m_root + "/var/log/qz/x.log";
    fs::create_directory(file);
    expectComplaint("WARN trace file " + file +
                    " is no regular file; next: make it a regular file that this user can write to");
}

TEST_F(CDoctorTest, ATraceFileThatOnlyGrowsIsAWarning)
{
    const std::string file = m_root + "/var/log/qz/x.log";
    writeFile(file, std::string(201, 'x'));
    expectComplaint(
        "WARN trace file " + file +
        " has 201 bytes, and should be exchanged at 100; next: see that its folder can be written to, so that "
        "a new one can be begun");
}

TEST_F(CDoctorTest, ATraceFolderThatCannotBeMadeIsAWarning)
{
    fs::remove_all(m_root + "/var");
    fs::create_directories(m_root + "/var");
    writeFile(m_root + "/var/log", "");
    const std::string folder = m_root + "/var/log/qz";
    expectComplaint("WARN folder of the trace file " + folder + ": " + m_root +
                    "/var/log is no folder; next: mkdir -p " + folder + " && chown " + std::to_string(geteuid()) + " " +
                    folder);
}

TEST_F(CDoctorTest, ACatalogFolderThatOthersCanWriteToIsAWarning)
{
    ASSERT_EQ(fictl({"snapshot", "list"}).exit, 0);
    const std::string folder = m_root + "/var/lib/qz";
    fs::permissions(folder, fs::perms(0777));
    expectComplaint("WARN folder of the catalog " + folder + " can be written to by others; next: chmod 700 " + folder);
}

TEST_F(CDoctorTest, ACatalogThatOthersCanReadIsAWarning)
{
    ASSERT_EQ(fictl({"snapshot", "list"}).exit, 0);
    fs::permissions(catalog(), fs::perms(0644));
    expectComplaint("WARN catalog " + catalog() + " can be read or written by others; next: chmod 600 " + catalog());
}

TEST_F(CDoctorTest, ACatalogThatIsNoFileIsTold)
{
    fs::create_directories(catalog());
    expectComplaint("FAIL catalog " + catalog() + " is no regular file; next: move it away");
}

TEST_F(CDoctorTest, ADamagedCatalogIsTold)
{
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(fictl({"snapshot", "create", "snapshot-" + std::to_string(i), "/dev/fake1"}).exit, 0);
        if (i == 0) i = 37;
    }
    std::string content = readFile(catalog());
    ASSERT_GT(content.size(), 4 * 4096U);
    for (size_t page = 1; page * 4096 < content.size(); ++page) {
        content.replace(page * 4096, 64, std::string(64, '\x55'));
    }
    writeFile(catalog(), content);
    const std::vector<std::string> lines = complaints();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL catalog " + catalog() + " ")) << lines[0];
    EXPECT_NE(lines[0].find("; next: keep a copy of the file, move it away"), std::string::npos) << lines[0];
}

TEST_F(CDoctorTest, AFileThatIsNoCatalogIsToldAndLeftAlone)
{
    fs::create_directories(m_root + "/var/lib/qz");
    fs::permissions(m_root + "/var/lib/qz", fs::perms(0700));
    writeFile(catalog(),
              "something of somebody else's, long enough to be looked at as a header, and more than that...");
    fs::permissions(catalog(), fs::perms(0600));
    const std::string before = readFile(catalog());
    expectComplaint(
        "FAIL catalog " + catalog() +
        " cannot be read: file is not a database; next: keep a copy of the file, move it away, and look up what "
        "the appliances hold");
    EXPECT_EQ(readFile(catalog()), before);
}

TEST_F(CDoctorTest, ACatalogOfAnotherLayoutIsTold)
{
    ASSERT_EQ(fictl({"snapshot", "list"}).exit, 0);
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(catalog().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "PRAGMA user_version = 99", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    const std::vector<std::string> lines = complaints();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL catalog " + catalog() + ": not a catalog of this fictl (layout 99, "))
        << lines[0];
}

TEST_F(CDoctorTest, AnInterruptedSnapshotIsAWarning)
{
    arm("make:g1 killed\n");
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "undo it"}).exit,
              1000 + SIGKILL);
    arm("");
    EXPECT_EQ(
        complaints(),
        (std::vector<std::string>{
            "WARN snapshot \"s\": the application may still be frozen; next: run its thaw command if it is: undo it",
            "WARN snapshot \"s\" is interrupted; next: fictl snapshot show s"}));
}

TEST_F(CDoctorTest, AnInspectorThatFailsIsToldAndTheRestIsLookedAt)
{
    setInspectorScript("echo no memory >&2; exit 1");
    const std::vector<std::string> lines = complaintsOf(fictl({"doctor"}));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL " + inspector())) << lines[0];
    EXPECT_NE(lines[0].find("no memory; next: run it by hand: " + inspector()), std::string::npos) << lines[0];
}

TEST_F(CDoctorTest, ADocumentThatLacksSomethingIsTold)
{
    m_seen.erase("tools");
    setInspection();
    const std::vector<std::string> lines = complaintsOf(fictl({"doctor"}));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL " + inspector() + ": its document cannot be read: ")) << lines[0];
}

TEST_F(CDoctorTest, WithoutAnInspectorItSaysWhatItCannotLookAt)
{
    const std::vector<std::string> lines = complaintsOf(fictl({"doctor"}));
    EXPECT_EQ(lines,
              std::vector<std::string>{
                  "WARN provider \"fakefi\" ships no inspector: configuration, tools and appliances cannot be looked "
                  "at without starting it; next: install the inspector beside the provider, if there is one"});
}

TEST_F(CDoctorTest, AProviderThatDoesNotStartIsTold)
{
    arm("init fail the configuration is empty");
    expectComplaint(
        "FAIL provider \"fakefi\" (" + provider() +
        ") loads with all its entry points, but does not start: the configuration is empty; next: mend what "
        "else is told here");
}

TEST_F(CDoctorTest, AProviderThatLacksAnEntryPointIsTold)
{
    fs::remove(provider());
    fs::create_symlink(FICTL_HALF_PROVIDER, provider());
    expectComplaint(
        "FAIL provider \"fakefi\" (" + provider() +
        ") has no entry point fakefi_fi_pgn_objctl; next: install the provider again, or name the right one "
        "with --provider");
}

TEST_F(CDoctorTest, AProviderThatEndsTheProcessIsTold)
{
    arm("init killed");
    expectComplaint(
        "FAIL provider \"fakefi\" cannot be loaded: fictl provider show was killed by signal 9; next: install "
        "the provider again, or name the right one with --provider");
}

}  // namespace
