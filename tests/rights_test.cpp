// Who can read what the system writes: its owner, and nobody else, whatever the umask of the process is.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "tests/site.h"

namespace fs = std::filesystem;

namespace {

class Rights : public testing::Test
{
  protected:
    Rights() : m_former(umask(0)) {}
    ~Rights() override { umask(m_former); }

    static mode_t modeOf(const fs::path& path)
    {
        struct stat status = {};
        return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
    }

    /// Files that anybody may read, because they hold nothing but names and places of programs.
    static bool isPublic(const fs::path& file)
    {
        return file.parent_path().filename() == "qz" && file.extension() == ".conf";
    }

    static std::set<fs::path> below(const fs::path& folder)
    {
        std::set<fs::path> all;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            all.insert(entry.path());
        }
        return all;
    }

    /// Looks at all that stands below a folder, but for what was there before, which has the rights of the test that
    /// made it, and the files that the test had made. Gives the number of files that are not public.
    static int expectOwnersAlone(const fs::path& folder, const std::set<fs::path>& before)
    {
        int files = 0;
        for (const fs::path& path : below(folder)) {
            const std::string name = path.filename();
            const bool isTestsOwn =
                before.contains(path) || name.starts_with("out.") || name.starts_with("err.") || name == "rights";
            if (isTestsOwn || fs::is_symlink(path)) continue;
            const mode_t mode = modeOf(path);
            EXPECT_EQ(mode & 022U, 0U) << path << " can be written by others: " << std::oct << mode;
            if (fs::is_directory(path) || isPublic(path)) continue;
            EXPECT_EQ(mode & 077U, 0U) << path << " can be read by others: " << std::oct << mode;
            ++files;
        }
        return files;
    }

  private:
    mode_t m_former;
};

}  // namespace

TEST_F(Rights, OnlyTheOwnerReadsAndWritesWhatAWholeBackupLeavesUnderUmaskZero)
{
    CSite site;
    const std::set<fs::path> before = below(site.folder());
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();
    const std::string document = (site.folder() / "run" / "document.json").string();
    ASSERT_EQ(site.fictl("production", {"snapshot", "create", "nightly", site.device("vault", "data")}).status, 0);
    ASSERT_EQ(site.fictl("production", {"snapshot", "export", "nightly", "--file", document}).status, 0);
    ASSERT_EQ(site.fictl("backup", {"snapshot", "receive", document}).status, 0);
    const SRun imported = site.fictl("backup", {"snapshot", "import", "nightly"});
    ASSERT_EQ(imported.status, 0) << imported.err;

    EXPECT_GT(expectOwnersAlone(site.folder(), before), 10);
}

TEST_F(Rights, OnlyTheOwnerReadsAndWritesWhatFaultsWorkloadsAndTracesLeaveUnderUmaskZero)
{
    CSite site;
    const std::set<fs::path> before = below(site.folder());
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();
    std::ofstream(site.root("production") / "etc/qz/cdpfi.conf", std::ios::app)
        << "\n[FI_TRACE]\nLEVEL=6\nMAX_SIZE=1024\nMAX_FILES=3\n";
    ASSERT_EQ(site.lmadm({"fault", "arm", "watch", "--times", "0"}).status, 0);
    const std::string log = (site.folder() / "run" / "workload").string();
    const SRun written =
        site.lmadm({"--appliance", "vault", "workload", "run", "payroll", "--log", log, "--writes", "4"});
    ASSERT_EQ(written.status, 0) << written.err;
    // What is there only for a while: a script is looked at by a program before the appliance's shell, the catalog's
    // log files by the thaw command.
    const std::string rightsFile = (site.root("production") / "rights").string();
    site.replaceShell("production", "#!/bin/sh\nstat -L -c '%a script' /dev/stdin >>" + rightsFile + "\nexec " +
                                        CDPFI_BIN_DIR + "/lmsh\n");
    const std::string rights = "stat -c '%a %n' $OBZX_ROOT/var/lib/qz/* >>$OBZX_ROOT/rights";
    const SRun made = site.fictl("production", {"snapshot", "create", "nightly", site.device("vault", "data"),
                                                "--freeze", "true", "--thaw", rights});
    ASSERT_EQ(made.status, 0) << made.err;

    EXPECT_GT(expectOwnersAlone(site.folder(), before), 10);
    EXPECT_TRUE(fs::exists(log));
    EXPECT_TRUE(fs::exists(site.folder() / "store/var/lib/lumora/faults.db"));
    EXPECT_TRUE(fs::exists(site.root("production") / "var/log/qz/cdpfi.1.log"));
    std::istringstream lines(contentOf(site.root("production") / "rights"));
    std::map<std::string, int> seen;
    for (std::string line; std::getline(lines, line);) {
        ++seen[line.starts_with("600 ") ? fs::path(line.substr(4)).filename().string() : line];
    }
    const auto scripts = seen.extract("script");
    EXPECT_GT(scripts.empty() ? 0 : scripts.mapped(), 5);
    EXPECT_EQ(seen, (std::map<std::string, int>{
                        {"fictl.db", 1}, {"fictl.db-owners", 1}, {"fictl.db-shm", 1}, {"fictl.db-wal", 1}}));
}

TEST_F(Rights, FoldersOfStoreCatalogAndTraceAreTheOwnersAlone)
{
    CSite site;
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();
    ASSERT_EQ(site.fictl("production", {"snapshot", "create", "nightly", site.device("vault", "data")}).status, 0);
    EXPECT_EQ(modeOf(site.folder() / "store/var/lib/lumora"), 0700U);
    EXPECT_EQ(modeOf(site.root("production") / "var/lib/qz"), 0700U);
    EXPECT_EQ(modeOf(site.root("production") / "var/log/qz"), 0700U);
    EXPECT_EQ(modeOf(site.root("production") / "etc/qz"), 0755U);
}
