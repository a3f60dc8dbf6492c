// Who can read what the system writes: its owner, and nobody else, whatever the umask of the process is.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>

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

  private:
    mode_t m_former;
};

}  // namespace

TEST_F(Rights, OnlyTheOwnerReadsAndWritesWhatAWholeBackupLeavesUnderUmaskZero)
{
    CSite site;
    // What the test itself made has the test's rights.
    std::set<fs::path> before;
    for (const auto& entry : fs::recursive_directory_iterator(site.folder()))
        before.insert(entry.path());
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();
    const std::string document = (site.folder() / "run" / "document.json").string();
    ASSERT_EQ(site.fictl("production", {"snapshot", "create", "nightly", site.device("vault", "data")}).status, 0);
    ASSERT_EQ(site.fictl("production", {"snapshot", "export", "nightly", "--file", document}).status, 0);
    ASSERT_EQ(site.fictl("backup", {"snapshot", "receive", document}).status, 0);
    const SRun imported = site.fictl("backup", {"snapshot", "import", "nightly"});
    ASSERT_EQ(imported.status, 0) << imported.err;

    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(site.folder())) {
        const fs::path& path = entry.path();
        const bool isTestsOwn = before.contains(path) || path.filename().string().starts_with("out.") ||
                                path.filename().string().starts_with("err.");
        if (isTestsOwn || entry.is_symlink()) continue;
        const mode_t mode = modeOf(path);
        EXPECT_EQ(mode & 022U, 0U) << path << " can be written by others: " << std::oct << mode;
        if (entry.is_directory() || isPublic(path)) continue;
        EXPECT_EQ(mode & 077U, 0U) << path << " can be read by others: " << std::oct << mode;
        ++files;
    }
    EXPECT_GT(files, 10);
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
