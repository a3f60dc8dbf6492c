// What a support bundle holds, what it never holds, and that it shows the same again in another root.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "tests/site.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

class CSupportBundleTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        site.addGroup("zaphod", "payrollgroup", {"ledgerlun", "journallun"});
        site.addGroup("trillian", "booksgroup", {"stocklun"});
        site.setUpHosts();
    }

    fs::path file() const { return site.folder() / "bundle.tar.gz"; }
    fs::path unpacked() const { return site.folder() / "unpacked/support-bundle"; }

    SRun take(std::vector<std::string> words = {}) const
    {
        words.insert(words.begin(), {"--output", "json", "support-bundle", "--file", file()});
        SRun run = site.fictl("production", words);
        unpack();
        return run;
    }

    void unpack() const
    {
        const fs::path folder = site.folder() / "unpacked";
        fs::remove_all(folder);
        fs::create_directory(folder);
        EXPECT_EQ(site.shell("production", "tar -xzf " + file().string() + " -C " + folder.string()).status, 0);
    }

    json read(const std::string& name) const { return json::parse(contentOf(unpacked() / name), nullptr, false); }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(unpacked())) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }

    /// Of these texts, those that stand in a file of the bundle.
    std::vector<std::string> found(const std::vector<std::string>& texts) const
    {
        std::vector<std::string> all;
        for (const std::string& name : files()) {
            const std::string content = contentOf(unpacked() / name);
            for (const std::string& text : texts) {
                if (content.find(text) != std::string::npos) all.push_back(name + ": " + text);
            }
        }
        return all;
    }

    /// What of the bundle could not be had, by its part.
    std::vector<std::string> missing() const
    {
        std::vector<std::string> lines;
        const json manifest = read("manifest.json");
        for (const json& entry : manifest["missing"]) {
            lines.push_back(entry["part"].get<std::string>() + ": " + entry["reason"].get<std::string>());
        }
        return lines;
    }

    SRun replay() const { return site.shell("production", CDPFI_REPLAY " --bin " CDPFI_BIN_DIR " " + file().string()); }

    void create(const std::vector<std::string>& further = {}, int exit = 0) const
    {
        std::vector<std::string> words = {"snapshot", "create", "nightly", site.device("zaphod", "ledgerlun"),
                                          site.device("trillian", "stocklun")};
        words.insert(words.end(), further.begin(), further.end());
        const SRun run = site.fictl("production", words);
        EXPECT_EQ(run.status, exit) << run.err;
    }

    void expectReplayed() const
    {
        const SRun run = replay();
        EXPECT_EQ(run.status, 0) << run.out << run.err;
        EXPECT_EQ(run.out, file().string() + ": as it was\n");
    }

    CSite site;
};

const std::vector<std::string> ALL_FILES = {
    "catalog.json", "configuration.json", "conversation.jsonl", "doctor.json", "history.json", "inspection.json",
    "limits.json",  "manifest.json",      "permissions.json",   "trace.log",   "versions.json"};

// So that there is a trace.
constexpr const char* FAILING[] = {"snapshot", "create", "other", "/dev/null"};

TEST_F(CSupportBundleTest, HoldsEveryPartWithItsDigest)
{
    site.fictl("production", {std::begin(FAILING), std::end(FAILING)});
    writeFile(site.root("production") / "var/log/qz/cdpfi.log", "a line\n");
    create();
    const SRun run = take();
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(files(), ALL_FILES);
    EXPECT_EQ(run.json()["support_bundle"]["files"], json(ALL_FILES));
    EXPECT_EQ(missing(), std::vector<std::string>());
    const json manifest = read("manifest.json");
    EXPECT_EQ(manifest["format"], "fictl-support-bundle");
    EXPECT_EQ(manifest["version"], 1);
    EXPECT_EQ(manifest["pseudonyms"], false);
    EXPECT_EQ(manifest["files"].size(), ALL_FILES.size() - 1);
    for (const json& entry : manifest["files"]) {
        const std::string name = entry["name"];
        EXPECT_EQ(entry["size"], fs::file_size(unpacked() / name)) << name;
        const SRun digest = site.shell("production", "sha256sum " + (unpacked() / name).string() + " | cut -c1-64");
        EXPECT_EQ(entry["sha256"].get<std::string>() + "\n", digest.out) << name;
    }
}

TEST_F(CSupportBundleTest, TellsWhatIsThere)
{
    create();
    take();
    const std::string serial = site.serial("zaphod", "ledgerlun");
    EXPECT_EQ(read("catalog.json")["snapshots"][0]["devices"][0]["serial"], serial);
    EXPECT_EQ(read("history.json")["history"][0]["snapshot"], "nightly");
    EXPECT_EQ(read("inspection.json")["appliances"][1]["groups"][0]["name"], "payrollgroup");
    EXPECT_FALSE(read("inspection.json")["raw"].empty());
    EXPECT_EQ(read("doctor.json")["doctor"]["ok"], true);
    EXPECT_EQ(read("versions.json")["provider"]["name"], "cdpfi");
    EXPECT_EQ(read("versions.json")["provider"]["library"]["sha256"].get<std::string>().size(), 64U);
    EXPECT_FALSE(read("versions.json")["libraries"].empty());
    EXPECT_TRUE(read("limits.json")["resources"]["open_files"]["soft"].is_number());
    bool isCatalogTold = false;
    const json permissions = read("permissions.json");
    for (const json& path : permissions["paths"]) {
        if (path["path"] != (site.root("production") / "var/lib/qz/fictl.db").string()) continue;
        isCatalogTold = true;
        EXPECT_EQ(path["mode"], "0100600");
    }
    EXPECT_TRUE(isCatalogTold) << permissions;
}

TEST_F(CSupportBundleTest, IsForItsOwnerOnlyAndNew)
{
    take();
    struct stat status = {};
    ASSERT_EQ(stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_FALSE(fs::exists(file().string() + ".part"));
    const std::string before = contentOf(file());
    const SRun again = site.fictl("production", {"support-bundle", "--file", file()});
    EXPECT_EQ(again.status, 4);
    EXPECT_EQ(again.err,
              "fictl: file " + file().string() + " exists already; nothing was written\n  next: give another file\n");
    EXPECT_EQ(contentOf(file()), before);
}

TEST_F(CSupportBundleTest, ThatCannotBeWrittenLeavesNothing)
{
    const SRun run = site.shell("production", "ulimit -f 1; fictl support-bundle --file " + file().string());
    EXPECT_EQ(run.status, 14) << run.err;
    EXPECT_EQ(run.err.substr(0, 19), "fictl: cannot write") << run.err;
    EXPECT_FALSE(fs::exists(file()));
    EXPECT_FALSE(fs::exists(file().string() + ".part"));
}

TEST_F(CSupportBundleTest, ChangesNothing)
{
    create();
    const std::vector<std::string> copies = site.copiesOf("zaphod", "payrollgroup");
    const std::string before = site.fictl("production", {"--output", "json", "history"}).out;
    take();
    EXPECT_EQ(site.copiesOf("zaphod", "payrollgroup"), copies);
    EXPECT_EQ(site.fictl("production", {"--output", "json", "history"}).out, before);
}

TEST_F(CSupportBundleTest, ShowsTheSameInAnotherRoot)
{
    create();
    take();
    fs::remove_all(site.folder() / "store");
    expectReplayed();
}

TEST_F(CSupportBundleTest, ShowsTheSameInAnotherRootUnderPseudonyms)
{
    create();
    take({"--pseudonyms"});
    fs::remove_all(site.folder() / "store");
    expectReplayed();
}

TEST_F(CSupportBundleTest, OfASickSiteShowsTheSameInAnotherRoot)
{
    create();
    site.replaceShell("production",
                      "#!/bin/sh\nscript=$(cat)\ncase \"$script\" in\n*trillian*) echo 'trillian: no route'; exit 1;;\n"
                      "*'list  hosts'*|*'list hosts'*) echo 'Welcome to this shell';;\nesac\n"
                      "printf '%s\\n' \"$script\" | exec " CDPFI_BIN_DIR "/lmsh\n");
    EXPECT_EQ(take({"--pseudonyms"}).status, 8);
    EXPECT_EQ(read("doctor.json")["doctor"]["ok"], false);
    EXPECT_EQ(found({"trillian", "zaphod"}), std::vector<std::string>());
    expectReplayed();
}

TEST_F(CSupportBundleTest, ThatWasChangedIsNotHeldAgain)
{
    take();
    std::string text = contentOf(unpacked() / "inspection.json");
    base_test::replaceAll(text, "payrollgroup", "payrollgroop");
    writeFile(unpacked() / "inspection.json", text);
    site.shell("production",
               "cd " + (site.folder() / "unpacked").string() + " && tar -czf " + file().string() + " support-bundle/*");
    const SRun run = replay();
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.out.find("inspection.json is not as the manifest says"), std::string::npos) << run.out;
}

TEST_F(CSupportBundleTest, ReplayTellsWhereTheDoctorSaysSomethingElse)
{
    take();
    std::string text = contentOf(unpacked() / "conversation.jsonl");
    base_test::replaceAll(text, "answers: 1 consistency group", "answers: 2 consistency groups");
    std::string manifest = contentOf(unpacked() / "manifest.json");
    const auto digest = [&](const fs::path& path) {
        return site.shell("production", "sha256sum " + path.string() + " | cut -c1-64 | tr -d '\\n'").out;
    };
    const std::string before = digest(unpacked() / "conversation.jsonl");
    writeFile(unpacked() / "conversation.jsonl", text);
    base_test::replaceAll(manifest, before, digest(unpacked() / "conversation.jsonl"));
    writeFile(unpacked() / "manifest.json", manifest);
    site.shell("production",
               "cd " + (site.folder() / "unpacked").string() + " && tar -czf " + file().string() + " support-bundle/*");
    const SRun run = replay();
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.out.find("answers: 2 consistency groups"), std::string::npos) << run.out;
}

TEST_F(CSupportBundleTest, PseudonymsLeaveNoName)
{
    create();
    site.lmsh("production", "zaphod",
              "create annotation \"before_payrollgroup2026\" \"payrollgroup\"\nset message x\ncommit");
    EXPECT_EQ(site.fictl("production", {"snapshot", "import", "nightly"}).status, 0);
    take();
    const std::vector<std::string> names = {"zaphod",
                                            "trillian",
                                            "payrollgroup",
                                            "booksgroup",
                                            "ledgerlun",
                                            "journallun",
                                            "stocklun",
                                            "production",
                                            "backup",
                                            site.serial("zaphod", "ledgerlun"),
                                            site.serial("trillian", "stocklun")};
    for (const std::string& name : names) {
        EXPECT_FALSE(found({name}).empty()) << name << " stands nowhere, so it proves nothing";
    }
    fs::remove(file());
    take({"--pseudonyms"});
    EXPECT_EQ(found(names), std::vector<std::string>());
    const std::string group = read("catalog.json")["snapshots"][0]["devices"][0]["group"];
    EXPECT_TRUE(group.starts_with("group")) << group;
    for (const char* const file : {"catalog.json", "history.json", "inspection.json", "conversation.jsonl"}) {
        EXPECT_NE(contentOf(unpacked() / file).find(group), std::string::npos) << file;
    }
    EXPECT_NE(contentOf(unpacked() / "inspection.json").find("before_" + group + "2026"), std::string::npos);
    EXPECT_EQ(read("manifest.json")["pseudonyms"], true);
}

TEST_F(CSupportBundleTest, NothingElseOfTheHostGoesIn)
{
    const fs::path etc = site.root("production") / "etc/qz";
    writeFile(etc / "cdpfi.conf", contentOf(etc / "cdpfi.conf") +
                                      "[OTHER]\nPASSWORD=MARKED_section\n[FI_NETWORK]\nSECRET=MARKED_key\n"
                                      "# MARKED_comment\nMARKED unreadable line\n");
    writeFile(etc / "hls.conf", contentOf(etc / "hls.conf") + "MARKED line of no appliance\n");
    writeFile(etc / "fictl.conf", "[OTHER]\nKEY=MARKED_own\n[CATALOG]\nOTHER=MARKED_own_key\n");
    writeFile(etc / "other.conf", "MARKED_file\n");
    writeFile(site.root("production") / "var/log/qz/other.log", "MARKED_log\n");
    create({"--freeze", "echo MARKED_output; true MARKED_freeze", "--thaw", "echo MARKED_error >&2; false MARKED_thaw"},
           12);
    // Of a record that is gone only the history tells.
    EXPECT_EQ(site.fictl("production", {"snapshot", "create", "second", site.device("zaphod", "journallun"),
                                        "--freeze=false MARKED_second", "--thaw=true MARKED_third"})
                  .status,
              12);
    EXPECT_EQ(site.shell("production",
                         "MARKED_variable=MARKED_value fictl support-bundle --file " + file().string() + " MARKED_word")
                  .status,
              2);
    const SRun run =
        site.shell("production", "MARKED_variable=MARKED_value fictl support-bundle --file " + file().string());
    EXPECT_TRUE(run.status == 0 || run.status == 8) << run.err;
    unpack();
    EXPECT_EQ(read("history.json")["history"].size(), 2U);
    EXPECT_EQ(found({"MARKED"}), std::vector<std::string>());
}

TEST_F(CSupportBundleTest, WhatCannotBeHadIsALineOfTheManifest)
{
    create();
    const fs::path root = site.root("production");
    writeFile(root / "var/lib/qz/fictl.db", "this is no database at all, and it is long enough to be looked at");
    fs::remove_all(root / "var/log");
    site.replaceShell("production", "#!/bin/sh\necho broken\nexit 1\n");
    writeFile(root / "etc/qz/cdpfi.conf",
              contentOf(root / "etc/qz/cdpfi.conf") + "[FI_TRACE]\nFILE=/etc/qz/hls.conf/trace\n");
    const SRun run = take();
    EXPECT_EQ(run.status, 8) << run.err;
    const std::string catalog = (root / "var/lib/qz/fictl.db").string();
    const std::vector<std::string> lines = missing();
    const auto tells = [&](const std::string& part) {
        return std::ranges::any_of(lines, [&](const std::string& line) { return line.starts_with(part); });
    };
    EXPECT_TRUE(tells("inspection.json: appliance \"trillian\": site-shell exited with status 1")) << json(lines);
    EXPECT_TRUE(tells("inspection.json: appliance \"zaphod\": site-shell exited with status 1")) << json(lines);
    EXPECT_TRUE(tells("catalog.json: catalog " + catalog + ":")) << json(lines);
    EXPECT_TRUE(tells("history.json: catalog " + catalog + ":")) << json(lines);
    EXPECT_TRUE(tells("trace.log: cannot open ")) << json(lines);
    EXPECT_EQ(lines.size(), 5U) << json(lines);
    EXPECT_FALSE(fs::exists(unpacked() / "catalog.json"));
    EXPECT_EQ(read("doctor.json")["doctor"]["ok"], false);
}

TEST_F(CSupportBundleTest, AnApplianceThatHangsCostsNoMoreThanItsLimits)
{
    site.replaceShell("production", "#!/bin/sh\nsleep 1000\n");
    EXPECT_EQ(take({"--timeout", "1"}).status, 8);
    EXPECT_EQ(read("inspection.json")["appliances"][0]["reachable"], false);
    EXPECT_EQ(read("manifest.json")["missing"][0]["part"], "inspection.json");
}

TEST_F(CSupportBundleTest, ThatIsStoppedLeavesNothing)
{
    site.replaceShell("production", "#!/bin/sh\nsleep 1000\n");
    const SRun run =
        site.shell("production", "timeout --preserve-status -s TERM 1 fictl support-bundle --file " + file().string());
    EXPECT_EQ(run.status, 15) << run.err;
    EXPECT_FALSE(fs::exists(file()));
    EXPECT_FALSE(fs::exists(file().string() + ".part"));
}

TEST_F(CSupportBundleTest, HoldsNoSecondConversation)
{
    const SRun run = site.fictl("production", {"--record", site.folder() / "talk", "support-bundle", "--file", file()});
    EXPECT_EQ(run.status, 2);
    EXPECT_FALSE(fs::exists(file()));
    EXPECT_EQ(site.fictl("production", {"support-bundle"}).status, 2);
}

TEST_F(CSupportBundleTest, DoctorsConversationIsHeldAgain)
{
    const fs::path talk = site.folder() / "talk.jsonl";
    EXPECT_EQ(site.fictl("production", {"--output", "json", "--record", talk, "doctor"}).status, 0);
    const SRun run = site.shell("production", CDPFI_REPLAY " --bin " CDPFI_BIN_DIR " " + talk.string());
    EXPECT_EQ(run.out, talk.string() + ": as it was\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(CSupportBundleTest, AReceivedDocumentIsPartOfTheConversation)
{
    create();
    const fs::path record = site.folder() / "record.json";
    const fs::path talk = site.folder() / "talk.jsonl";
    site.fictl("production", {"snapshot", "export", "nightly", "--file", record});
    EXPECT_EQ(site.fictl("backup", {"--output", "json", "--record", talk, "snapshot", "receive", record}).status, 0);
    fs::remove(record);
    const SRun run = site.shell("production", CDPFI_REPLAY " --bin " CDPFI_BIN_DIR " " + talk.string());
    EXPECT_EQ(run.out, talk.string() + ": as it was\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(CSupportBundleTest, AnExportThatIsHeldAgainWritesNoFileElsewhere)
{
    create();
    const fs::path record = site.folder() / "record.json";
    const fs::path talk = site.folder() / "talk.jsonl";
    const SRun made = site.fictl("production", {"--record", talk, "snapshot", "export", "nightly", "--file", record});
    EXPECT_EQ(made.status, 0) << made.err;
    fs::remove(record);
    const SRun run = site.shell("production", CDPFI_REPLAY " --bin " CDPFI_BIN_DIR " " + talk.string());
    EXPECT_EQ(run.out, talk.string() + ": as it was\n");
    EXPECT_FALSE(fs::exists(record));
}

}  // namespace
