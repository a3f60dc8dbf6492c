#include "host/src/catalog/catalog_place.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace fs = std::filesystem;
using fictl::catalogPath;
using fictl::SCatalogUser;

namespace {

TEST_F(CFictlTest, TheCatalogOfAUserLiesInTheStateFolder)
{
    const std::string common = m_root + "/var/lib/qz/fictl.db";
    EXPECT_EQ(
        catalogPath(
            {.common = common, .isRoot = true, .hasRootFolder = false, .stateFolder = "/state", .home = "/home/u"}),
        common)
        << "root";
    EXPECT_EQ(
        catalogPath(
            {.common = common, .isRoot = false, .hasRootFolder = true, .stateFolder = "/state", .home = "/home/u"}),
        common)
        << "OBZX_ROOT is set";
    EXPECT_EQ(
        catalogPath(
            {.common = common, .isRoot = false, .hasRootFolder = false, .stateFolder = "/state", .home = "/home/u"}),
        "/state/cdpfi/fictl.db");
    EXPECT_EQ(
        catalogPath({.common = common, .isRoot = false, .hasRootFolder = false, .stateFolder = "", .home = "/home/u"}),
        "/home/u/.local/state/cdpfi/fictl.db");
    EXPECT_EQ(
        catalogPath(
            {.common = common, .isRoot = false, .hasRootFolder = false, .stateFolder = "relative", .home = "/home/u"}),
        "/home/u/.local/state/cdpfi/fictl.db");
    EXPECT_EQ(catalogPath({.common = common, .isRoot = false, .hasRootFolder = false, .stateFolder = "", .home = ""}),
              common)
        << "no home";
}

TEST_F(CFictlTest, ACatalogThatAUserOwnsInTheCommonPlaceStaysInUse)
{
    const std::string common = m_root + "/var/lib/qz/fictl.db";
    fs::create_directories(fs::path(common).parent_path());
    fs::create_symlink(m_root, common);
    EXPECT_EQ(
        catalogPath({.common = common, .isRoot = false, .hasRootFolder = false, .stateFolder = "/state", .home = ""}),
        "/state/cdpfi/fictl.db")
        << "a link is none";
    fs::remove(common);
    base_test::writeFile(common, "");
    EXPECT_EQ(
        catalogPath({.common = common, .isRoot = false, .hasRootFolder = false, .stateFolder = "/state", .home = ""}),
        common);
}

TEST_F(CFictlTest, WithoutRootAndRootFolderFictlUsesTheStateFolder)
{
    const std::string state = m_root + "/state";
    fs::create_directories(state);
    fs::permissions(m_root, fs::perms(0755));
    constexpr uid_t NOBODY = 65534;
    if (geteuid() == 0) {
        ASSERT_EQ(chown(state.c_str(), NOBODY, NOBODY), 0);
    }
    const pid_t pid = fork();
    if (pid == 0) {
        const bool isDropped =
            geteuid() != 0 || (setgroups(0, nullptr) == 0 && setgid(NOBODY) == 0 && setuid(NOBODY) == 0);
        unsetenv("OBZX_ROOT");                       // NOLINT(concurrency-mt-unsafe)
        setenv("XDG_STATE_HOME", state.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
        if (isDropped) execl(FICTL_PROGRAM, FICTL_PROGRAM, "snapshot", "delete", "none", "--forget", nullptr);
        _exit(127);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_TRUE(fs::is_regular_file(state + "/cdpfi/fictl.db"));
    EXPECT_EQ(fs::status(state + "/cdpfi").permissions(), fs::perms::owner_all);
}

}  // namespace
