// A dry run tells what a command does then, and does nothing: real tools that write down what they are asked.
#include <gtest/gtest.h>

#include <algorithm>

#include "base/sqlite.h"
#include "tests/site.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

using Texts = std::vector<std::string>;

class CDryRunTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        site.addGroup("alpha", "payroll", {"data", "journal"});
        site.addGroup("beta", "books", {"ledger"});
        site.setUpHosts();
        fs::create_directory(site.folder() / "tools");
        for (const std::string& host : {std::string("production"), std::string("backup")}) {
            watch(host);
        }
    }

    /// Has both tools of a host write down what they are asked.
    void watch(const std::string& host) const
    {
        const fs::path folder = site.folder() / "tools" / host;
        program(folder / "lmsh",
                "script=$(cat)\nline=$(printf '%s\\n' \"$script\" | tr '\\n' ';')\nprintf '%s\\n' \"$line\" >>" +
                    asked() + "\nprintf '%s\\n' \"$script\" | exec " CDPFI_BIN_DIR "/lmsh \"$@\"\n");
        program(folder / "kforutil",
                "echo \"kforutil $*\" >>" + asked() + "\nexec " CDPFI_BIN_DIR "/kforutil \"$@\"\n");
        site.lmadm({"host", "setup", "--root", site.root(host), "--host", host, "--tools", folder});
    }

    static void program(const fs::path& file, const std::string& text)
    {
        writeFile(file, "#!/bin/sh\n" + text);
        fs::permissions(file, fs::perms::owner_all);
    }

    std::string asked() const { return (site.folder() / "asked").string(); }

    /// What the real tools were asked since the last call, but for looks; each as "server alpha; ...".
    Texts changesAsked() const
    {
        Texts changes;
        for (std::string line : base_test::linesOf(contentOf(asked()))) {
            base_test::replaceAll(line, "  ", " ");
            base_test::replaceAll(line, "; ", ";");
            const std::string command = line.substr(line.starts_with("server ") ? line.find(';') + 1 : 0);
            const bool isLook = command.starts_with("list ") || command.starts_with("show ") ||
                                command == "kforutil listdisk" || command.empty();
            if (!isLook) changes.push_back(plain(line));
        }
        fs::remove(asked());
        std::ranges::sort(changes);
        return changes;
    }

    /// A command without blanks, without the ends of its lines, and without what each process calls its own.
    static std::string plain(std::string line)
    {
        base_test::replaceAll(line, " ", "");
        base_test::replaceAll(line, ";exit", "");
        std::erase(line, ';');
        const std::string mark = "createannotation\"KSV_Check_Point_";
        const size_t at = line.find(mark);
        if (at != std::string::npos) {
            const size_t begin = at + mark.size();
            line.replace(begin, line.find('"', begin) - begin, "N");
        }
        return line;
    }

    /// What a dry run says would be asked.
    static Texts changesTold(const SRun& run)
    {
        const json document = run.json();
        Texts changes;
        for (std::string command : document["dry_run"]["commands"]) {
            if (command.starts_with("lmsh: ")) command = command.substr(6);
            changes.push_back(plain(command));
        }
        std::ranges::sort(changes);
        return changes;
    }

    SRun dryRun(const std::string& host, Texts words) const
    {
        words.insert(words.begin(), {"--output", "json", "--dry-run"});
        return site.fictl(host, words);
    }

    /// All that a command could change.
    std::string everything(const std::string& host) const
    {
        std::string text;
        const fs::path catalog = site.root(host) / "var/lib/qz/fictl.db";
        if (fs::exists(catalog)) {
            text = base::CSqliteDatabase(catalog, SQLITE_OPEN_READONLY, std::chrono::seconds(5)).content();
        }
        for (const auto& [appliance, group] : {std::pair("alpha", "payroll"), {"beta", "books"}}) {
            text += site.lmadm({"--output", "json", "--appliance", appliance, "group", "show", group}).out;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(site.root(host) / "etc")) {
            if (entry.is_regular_file()) text += contentOf(entry.path());
        }
        return text;
    }

    void create(const std::string& name = "nightly") const
    {
        const SRun run = site.fictl(
            "production", {"snapshot", "create", name, site.device("alpha", "data"), site.device("beta", "ledger")});
        EXPECT_EQ(run.status, 0) << run.err;
    }

    void setState(const std::string& state) const
    {
        base::CSqliteDatabase catalog(site.root("production") / "var/lib/qz/fictl.db", SQLITE_OPEN_READWRITE,
                                      std::chrono::seconds(5));
        catalog.execute(("UPDATE snapshot SET state = '" + state + "'").c_str());
    }

    /// Runs the command dry and compares what it tells with what the real one asks, and how that ends.
    void compare(const std::string& host, const Texts& words) const
    {
        const std::string before = everything(host);
        fs::remove(asked());
        const SRun told = dryRun(host, words);
        EXPECT_EQ(changesAsked(), Texts()) << "of a dry run";
        EXPECT_EQ(everything(host), before);
        const SRun done = site.fictl(host, words);
        EXPECT_EQ(told.status, done.status) << told.out << told.err << done.err;
        EXPECT_EQ(changesTold(told), changesAsked()) << told.out << done.err;
    }

    void compareInEveryState(const std::string& command) const
    {
        for (const char* const state : {"creating", "partial", "failed", "complete", "importing", "import-failed",
                                        "imported", "releasing", "release-failed", "deleting", "delete-failed"}) {
            for (const bool isImported : {false, true}) {
                SCOPED_TRACE(command + " of " + state + (isImported ? " with" : " without") + " copies");
                create();
                if (isImported) {
                    EXPECT_EQ(site.fictl("production", {"snapshot", "import", "nightly"}).status, 0);
                }
                setState(state);
                compare("production", {"snapshot", command, "nightly"});
                site.fictl("production", {"snapshot", "delete", "nightly", "--even-if-in-use"});
            }
        }
    }

    static bool hasFolders(const fs::path& folder)
    {
        return std::ranges::any_of(fs::directory_iterator(folder),
                                   [](const fs::directory_entry& entry) { return entry.is_directory(); });
    }

    SRun fill(const fs::path& store, const fs::path& inspection) const
    {
        return site.shell("production",
                          "lmadm --output json --store " + store.string() + " shadow " + inspection.string());
    }

    CSite site;
};

TEST_F(CDryRunTest, OfACreationTellsWhatTheCreationAsks)
{
    compare("production",
            {"snapshot", "create", "nightly", site.device("alpha", "data"), site.device("beta", "ledger")});
}

TEST_F(CDryRunTest, OfAnImportTellsWhatTheImportAsksInEveryState)
{
    compareInEveryState("import");
}

TEST_F(CDryRunTest, OfAReleaseTellsWhatTheReleaseAsksInEveryState)
{
    compareInEveryState("release");
}

TEST_F(CDryRunTest, OfADeletionTellsWhatTheDeletionAsksInEveryState)
{
    compareInEveryState("delete");
}

TEST_F(CDryRunTest, TellsThatAnotherHostHasTheCopy)
{
    create();
    const fs::path record = site.folder() / "record.json";
    EXPECT_EQ(site.fictl("production", {"snapshot", "export", "nightly", "--file", record}).status, 0);
    EXPECT_EQ(site.fictl("backup", {"snapshot", "receive", record}).status, 0);
    compare("backup", {"snapshot", "import", "nightly"});
    compare("production", {"snapshot", "import", "nightly"});
    compare("production", {"snapshot", "delete", "nightly"});
    compare("backup", {"snapshot", "release", "nightly"});
    compare("production", {"snapshot", "delete", "nightly", "--even-if-in-use"});
}

TEST_F(CDryRunTest, TellsThatACheckpointWasMadeAnew)
{
    create();
    const std::string checkpoint =
        site.fictl("production", {"--output", "json", "snapshot", "show", "nightly"}).json()["snapshot"]["checkpoint"];
    site.lmsh("production", "alpha", "delete annotation \"" + checkpoint + "\" \"payroll\"");
    site.shell("production", "sleep 1.1");
    site.lmsh("production", "alpha", "create annotation \"" + checkpoint + "\" \"payroll\"\nset message x\ncommit");
    compare("production", {"snapshot", "import", "nightly"});
    compare("production", {"snapshot", "delete", "nightly"});
}

TEST_F(CDryRunTest, TellsWhatIsRefused)
{
    compare("production", {"snapshot", "import", "nightly"});
    compare("production", {"snapshot", "create", "nightly", "/dev/null"});
    create();
    compare("production", {"snapshot", "create", "nightly", site.device("alpha", "data")});
    compare("production", {"snapshot", "delete", "nightly", "--forget"});
}

TEST_F(CDryRunTest, TellsThatAnotherCommandIsAtWork)
{
    site.lmadm({"fault", "arm", "hang", "--match", "create annotation"});
    const SRun run =
        site.shell("production", "fictl --timeout 8 snapshot create nightly " + site.device("alpha", "data") +
                                     " >/dev/null 2>&1 & for i in $(seq 100); do [ \"$(lmadm --store " +
                                     (site.folder() / "store").string() +
                                     " --output json fault list | grep -c "
                                     "'\"struck\": [1-9t]')\" = 0 ] || break; sleep 0.1; done\n"
                                     "fictl --output json --dry-run snapshot delete nightly; wait");
    EXPECT_EQ(run.json()["error"]["code"], "state") << run.out << run.err;
    const std::string message = run.json()["error"]["message"];
    EXPECT_TRUE(message.ends_with(" is at work on it (creating)")) << message;
}

TEST_F(CDryRunTest, RunsNoFreezeAndNoThawCommand)
{
    const std::string mark = (site.folder() / "mark").string();
    const SRun run = dryRun("production", {"snapshot", "create", "nightly", site.device("alpha", "data"), "--freeze",
                                           "touch " + mark, "--thaw=touch " + mark});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_FALSE(fs::exists(mark));
}

TEST_F(CDryRunTest, ForPeopleShowsCommandsAndOutcome)
{
    const SRun run =
        site.fictl("production", {"--dry-run", "snapshot", "create", "nightly", site.device("alpha", "data")});
    EXPECT_EQ(
        run.out,
        "the appliances would be asked:\n"
        "  lmsh: server alpha; create annotation \"KSV_Check_Point_N\" \"payroll\"; set message CreatedByKestrav; "
        "commit\n"
        "expected: exit code 0 (ok)\n"
        "nothing was asked for, and nothing was changed\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
}

TEST_F(CDryRunTest, TellsNoPathOfTheShadow)
{
    create();
    const SRun run = dryRun("production", {"snapshot", "import", "nightly"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.json()["dry_run"]["outcome"]["snapshot"]["devices"][0]["import_path"], "PATH");
    EXPECT_EQ(run.out.find("/fictl-private-"), std::string::npos) << run.out;
}

TEST_F(CDryRunTest, SaysSoWhereTheInspectorCannotTell)
{
    create();
    const fs::path shell = site.folder() / "tools/production/lmsh";
    std::string text = contentOf(shell);
    base_test::replaceAll(text, "script=$(cat)\n",
                          "script=$(cat)\ncase \"$script\" in *'server beta'*) echo 'no route'; exit 1;; esac\n");
    program(shell, text.substr(text.find('\n') + 1));
    const std::string why = "appliance \"beta\": lmsh exited with status 1: no route";
    for (const Texts& words : {Texts{"snapshot", "delete", "nightly"}, Texts{"snapshot", "import", "nightly"},
                               Texts{"snapshot", "create", "other", site.device("beta", "ledger")}}) {
        const SRun run = dryRun("production", words);
        EXPECT_EQ(run.status, 8) << run.out;
        EXPECT_EQ(run.json()["error"]["message"], "no dry run: what would be done is not known: " + why);
    }
    const SRun run = dryRun("production", {"snapshot", "create", "other", site.device("alpha", "data")});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.json()["dry_run"]["unknown"], json{why});
    fs::remove(site.folder() / "asked");
}

TEST_F(CDryRunTest, SaysWhereTheEmbeddedApplianceIsNotInstalled)
{
    writeFile(site.root("production") / "etc/qz/fictl.conf", "[DRY_RUN]\nTOOLS=/no/such/folder\n");
    const SRun run = site.fictl("production", {"--dry-run", "snapshot", "delete", "nightly"});
    EXPECT_EQ(run.status, 8);
    EXPECT_EQ(run.err,
              "fictl: no dry run: it needs the embedded appliance, and there is no program /no/such/folder/lmadm\n"
              "  next: install the embedded appliance beside fictl, or name its folder with TOOLS= in section "
              "[DRY_RUN] of /etc/qz/fictl.conf\n");
}

TEST_F(CDryRunTest, LeavesNoFolderBehind)
{
    const fs::path temporary = site.folder() / "temporary";
    fs::create_directory(temporary);
    const std::string device = site.device("alpha", "data");
    site.shell("production", "TMPDIR=" + temporary.string() + " fictl --dry-run snapshot create nightly " + device);
    EXPECT_TRUE(fs::is_empty(temporary));
    // That of one that was killed goes with the next.
    const fs::path left = temporary / "fictl-private-AAAAAA";
    const fs::path young = temporary / "fictl-private-BBBBBB";
    const fs::path other = temporary / "fictl-private-of-somebody";
    for (const fs::path& folder : {left, young, other}) {
        writeFile(folder / "file", "text");
    }
    site.shell("production", "touch -d '2 minutes ago' " + left.string() + " " + other.string());
    site.shell("production", "TMPDIR=" + temporary.string() + " fictl --dry-run snapshot create nightly " + device);
    EXPECT_FALSE(fs::exists(left));
    EXPECT_TRUE(fs::exists(young));
    EXPECT_TRUE(fs::exists(other));
    fs::remove_all(young);
    fs::remove_all(other);
    // Stopped while it is at work there. Scripts of a tool's run that was stopped go with the next run.
    program(site.folder() / "tools/production/kforutil", "sleep 1\nexec " CDPFI_BIN_DIR "/kforutil \"$@\"\n");
    for (const char* const seconds : {"0.5", "1.2"}) {
        const SRun run = site.shell("production", "TMPDIR=" + temporary.string() + " timeout -s TERM " + seconds +
                                                      " fictl --dry-run snapshot create nightly " + device);
        EXPECT_FALSE(hasFolders(temporary)) << seconds << run.out << run.err;
    }
}

TEST_F(CDryRunTest, IsForCommandsThatChangeAppliances)
{
    EXPECT_EQ(site.fictl("production", {"--dry-run", "snapshot", "list"}).err,
              "fictl: --dry-run is for snapshot create, import, release, delete and prune\n  next: fictl --help\n");
    EXPECT_EQ(site.fictl("production", {"--dry-run", "doctor"}).status, 2);
    const fs::path talk = site.folder() / "talk";
    EXPECT_EQ(site.fictl("production", {"--dry-run", "--record", talk, "snapshot", "delete", "x"}).status, 2);
}

TEST_F(CDryRunTest, AShadowTellsAnInspectorWhatTheAppliancesTell)
{
    create("one");
    create("two");
    EXPECT_EQ(site.fictl("production", {"snapshot", "import", "two"}).status, 0);
    const std::string inspector = std::string(CDPFI_BIN_DIR) + "/../libexec/obzx/cdpfi-inspect";
    const json seen = site.shell("production", inspector).json();
    const fs::path file = site.folder() / "seen.json";
    const std::string store = (site.folder() / "shadow").string();
    writeFile(file, seen.dump());
    const SRun filled = fill(store, file);
    ASSERT_EQ(filled.status, 0) << filled.err;
    EXPECT_EQ(filled.json()["unknown"], json::array());
    EXPECT_EQ(filled.json()["host"], "production");
    site.shell("production", "lmadm --store " + store + " host setup --root " + site.root("twin").string() +
                                 " --host production --tools " CDPFI_BIN_DIR);
    const json shown = site.shell("twin", inspector).json();
    std::string then = seen["appliances"].dump(1);
    std::string now = shown["appliances"].dump(1);
    const json result = filled.json();
    for (const json& path : result["paths"]) {
        base_test::replaceAll(now, path["shadow"].get<std::string>(), path["path"].get<std::string>());
    }
    EXPECT_EQ(now, then);
}

TEST_F(CDryRunTest, AShadowOfHalfADocumentHoldsWhatIsWhole)
{
    const std::string inspector = std::string(CDPFI_BIN_DIR) + "/../libexec/obzx/cdpfi-inspect";
    json seen = site.shell("production", inspector).json();
    seen["appliances"][0]["groups"][0]["permissions"] = nullptr;
    seen["appliances"][1]["reachable"] = false;
    seen["appliances"][1]["reason"] = "no answer";
    const fs::path file = site.folder() / "seen.json";
    writeFile(file, seen.dump());
    const SRun filled = fill(site.folder() / "shadow", file);
    EXPECT_EQ(filled.status, 0) << filled.err;
    EXPECT_EQ(filled.json()["unknown"],
              (json{{{"appliance", "alpha"}, {"group", "payroll"}, {"reason", "its permissions are not told"}},
                    {{"appliance", "beta"}, {"group", nullptr}, {"reason", "no answer"}}}));
    writeFile(file, "{}");
    EXPECT_EQ(fill(site.folder() / "other", file).status, 2);
}

}  // namespace
