// The file of the catalog: how it comes into being, and what is not taken for one.
#include "host/src/catalog/catalog_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/src/output/error.h"
#include "host/tests/catalog_fixture.h"

namespace fs = std::filesystem;
using fictl::ECatalogUse;
using fictl::isCatalogThere;
using fictl::SCatalogOwners;

namespace {

constexpr uid_t STRANGER = 4711;

using CCatalogFileTest = CCatalogTest;

TEST_F(CCatalogFileTest, AFreshOneHasAllItsTablesAndKeepsALog)
{
    begin();
    EXPECT_EQ(textOf("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(textOf("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(textOf("SELECT group_concat(name, ' ') FROM (SELECT name FROM sqlite_schema WHERE sql <> '' ORDER BY 1)"),
              "checkpoint_time device history history_is_kept history_object history_object_by_name history_run label "
              "snapshot "
              "snapshot_by_checkpoint sqlite_sequence");
    EXPECT_FALSE(fs::exists(catalog() + ".part"));
}

TEST_F(CCatalogFileTest, OfManyWhoMakeItAtOnceEachGetsTheSame)
{
    constexpr int PROCESSES = 8;
    for (int round = 0; round < 5; ++round) {
        fs::remove_all(folder());
        std::vector<pid_t> pids;
        for (int i = 0; i < PROCESSES; ++i) {
            const pid_t pid = fork();
            if (pid == 0) {
                setenv("OBZX_ROOT", m_root.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
                dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
                dup2(STDOUT_FILENO, STDERR_FILENO);
                execl(FICTL_PROGRAM, FICTL_PROGRAM, "snapshot", "delete", "none", "--forget", nullptr);
                _exit(127);
            }
            pids.push_back(pid);
        }
        for (const pid_t pid : pids) {
            int status = 0;
            ASSERT_EQ(waitpid(pid, &status, 0), pid);
            EXPECT_EQ(WEXITSTATUS(status), 3);
        }
        EXPECT_EQ(textOf("PRAGMA integrity_check"), "ok");
        EXPECT_FALSE(fs::exists(catalog() + ".part"));
    }
}

TEST_F(CCatalogFileTest, WhatAKilledFirstUseLeftIsTakenOver)
{
    fs::create_directories(folder());
    base_test::writeFile(catalog() + ".part", "half of a catalog");
    fs::permissions(catalog() + ".part", fs::perms::owner_read | fs::perms::owner_write);
    begin();
    EXPECT_EQ(textOf("PRAGMA integrity_check"), "ok");
    EXPECT_FALSE(fs::exists(catalog() + ".part"));
}

TEST_F(CCatalogFileTest, OneThatWasCutToNothingIsRefusedAndLeftAlone)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    fs::resize_file(catalog(), 0);
    const std::string reason = "catalog " + catalog() + ": it is empty: there was a catalog, and it was cut to nothing";
    EXPECT_EQ(refusal({"snapshot", "list"}), reason);
    EXPECT_EQ(refusal({"catalog", "check"}), reason);
    EXPECT_EQ(refusal({"snapshot", "create", "t", "/dev/fake3"}), reason);
    EXPECT_EQ(fs::file_size(catalog()), 0U);
    EXPECT_EQ(objects().size(), 1U) << "a snapshot was made that no catalog knows";
}

TEST_F(CCatalogFileTest, TheLogOfOneThatWasCutOrTakenAwayIsKept)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const std::string log = catalog() + "-wal";
    base_test::writeFile(log, "changes that stand nowhere else");
    fs::resize_file(catalog(), 0);
    refusal({"snapshot", "list"});
    refusal({"snapshot", "delete", "s"});
    fs::remove(catalog());
    const std::string reason = "catalog " + catalog() + ": it is not there, and its log " + log + " is";
    EXPECT_EQ(refusal({"snapshot", "list"}), reason);
    EXPECT_EQ(refusal({"snapshot", "delete", "s"}), reason);
    EXPECT_EQ(base_test::contentOf(log), "changes that stand nowhere else");
    fs::remove(log);
    begin();
}

TEST_F(CCatalogFileTest, ADatabaseWithoutTablesIsNoNewCatalog)
{
    fs::create_directories(folder());
    change("PRAGMA journal_mode = WAL; CREATE TABLE t (x); DROP TABLE t");
    EXPECT_EQ(refusal({"snapshot", "delete", "s"}),
              "catalog " + catalog() + ": not a catalog of this fictl (layout 0, this fictl reads 4)");
}

TEST_F(CCatalogFileTest, RootTheUserAndWhomTheAdministratorNamesMayOwnIt)
{
    const SCatalogOwners owners = {.user = 1000, .named = {1001}};
    EXPECT_TRUE(owners.mayBe(0));
    EXPECT_TRUE(owners.mayBe(1000));
    EXPECT_TRUE(owners.mayBe(1001));
    EXPECT_FALSE(owners.mayBe(STRANGER));
    const SCatalogOwners roots = {.user = 0};
    EXPECT_FALSE(roots.mayBe(1000)) << "root works with a catalog of anybody";
}

TEST_F(CCatalogFileTest, OneOfAnotherUserIsRefused)
{
    begin();
    // Whoever runs the test owns both; root can give them away, and to another user those of this one are strange.
    const uid_t owner = geteuid() == 0 ? STRANGER : geteuid();
    const SCatalogOwners owners = {.user = owner + 1};
    const auto refusalOf = [&](const SCatalogOwners& whose) -> std::string {
        try {
            return isCatalogThere(catalog(), ECatalogUse::READ, whose) ? "there" : "not there";
        } catch (const fictl::EFictl& error) {
            return error.what();
        }
    };
    const std::string number = std::to_string(owner);
    EXPECT_EQ(chown(folder().c_str(), owner, gid_t(-1)), 0);
    EXPECT_EQ(refusalOf(owners), "catalog " + catalog() + ": its folder belongs to user " + number);
    if (geteuid() == 0) {
        EXPECT_EQ(chown(folder().c_str(), 0, gid_t(-1)), 0);
        EXPECT_EQ(chown(catalog().c_str(), owner, gid_t(-1)), 0);
        EXPECT_EQ(refusalOf(owners), "catalog " + catalog() + ": it belongs to user " + number);
        EXPECT_EQ(refusal({"snapshot", "list"}), "catalog " + catalog() + ": it belongs to user " + number);
        refusal({"snapshot", "delete", "none"});
    }
    EXPECT_EQ(refusalOf({.user = owner}), "there");
    EXPECT_EQ(refusalOf({.user = owner + 1, .named = {owner}}), "there");
    fs::create_directories(m_root + "/etc/qz");
    base_test::writeFile(m_root + "/etc/qz/fictl.conf", "[CATALOG]\nOWNERS=nobody, " + number + "\n");
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "none"}).exit, 3);
}

}  // namespace
