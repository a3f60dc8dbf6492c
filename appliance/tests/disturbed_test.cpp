// Commands in which one system call fails, or that are killed at it: what is listed is whole, and the next command
// removes what is not listed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::IsEmpty;

constexpr int KILLED = 128 + SIGKILL;

// A program, with the n-th call of a kind disturbed: "error=EIO", "signal=KILL".
std::vector<std::string> disturbed(std::vector<std::string> command, const std::string& call, int number,
                                   const std::string& how)
{
    // The address sanitizer's search for leaks is a tracer, too, and there can be but one.
    const std::vector<std::string> tracer = {
        "/usr/bin/env", "ASAN_OPTIONS=detect_leaks=0",
        "strace",       "-qq",
        "-o",           "/dev/null",
        "-e",           "trace=" + call,
        "-e",           "inject=" + call + ":" + how + ":when=" + std::to_string(number)};
    command.insert(command.begin(), tracer.begin(), tracer.end());
    return command;
}

std::set<std::string> namesIn(const fs::path& folder)
{
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

class Disturbed : public testing::Test
{
  protected:
    SResult lmsh(const std::string& commands, const std::string& call, int number, const std::string& how) const
    {
        return CProcess(disturbed(lmshCommand(), call, number, how), script(commands), m_demo.root("prod").string())
            .wait();
    }
    SResult lmadm(const std::vector<std::string>& arguments, const std::string& call, int number,
                  const std::string& how) const
    {
        std::vector<std::string> command = lmadmCommand();
        command.insert(command.end(), {"--store", m_demo.store().string()});
        command.insert(command.end(), arguments.begin(), arguments.end());
        return CProcess(disturbed(command, call, number, how), "").wait();
    }
    size_t listed(const std::string& kind) const { return m_demo.document({"group", "show", "cg1"})[kind].size(); }
    std::set<std::string> luns() const
    {
        std::set<std::string> names;
        const nlohmann::json document = m_demo.document({"lun", "list"});
        for (const nlohmann::json& lun : document["luns"]) {
            names.insert(lun["name"].get<std::string>());
        }
        return names;
    }

    CDemoStore m_demo;
};

TEST_F(Disturbed, ACommitThatCannotBeMadeDurableLeavesNoAnnotationWithoutContent)
{
    const std::string create = "create annotation \"A\" \"cg1\"\ncommit";
    for (const std::string how : {"error=EIO", "signal=KILL"}) {
        const SResult result = lmsh(create, "fdatasync", 1, how);
        ASSERT_THAT(result.status, AnyOf(6, KILLED)) << "the command commits";
        if (listed("annotations") == 1) {
            m_demo.createTimeImage("T", "A", "backup");
            EXPECT_EQ(m_demo.lmsh("delete timeimage \"T\" \"cg1\"").status, 0);
            EXPECT_EQ(m_demo.lmsh("delete annotation \"A\" \"cg1\"").status, 0);
        } else {
            m_demo.createAnnotation("A");
            EXPECT_EQ(entriesIn(m_demo.home() / "annotations"), 1U);
            EXPECT_EQ(m_demo.lmsh("delete annotation \"A\" \"cg1\"").status, 0);
        }
        EXPECT_THAT(namesIn(m_demo.home() / "annotations"), IsEmpty());
    }
}

TEST_F(Disturbed, ACommitThatCannotBeMadeDurableLeavesNoTimeImageWithoutContent)
{
    m_demo.createAnnotation("A");
    const std::string create =
        "create timeimage \"T\" \"cg1\"\nuse annotation \"A\"\nadd permission \"backup\"\ncommit";
    for (const std::string how : {"error=EIO", "signal=KILL"}) {
        ASSERT_THAT(lmsh(create, "fdatasync", 1, how).status, AnyOf(6, KILLED)) << "the command commits";
        if (listed("time_images") == 0) m_demo.createTimeImage("T", "A", "backup");
        const nlohmann::json images = m_demo.document({"group", "show", "cg1"})["time_images"];
        ASSERT_EQ(images.size(), 1U);
        for (const nlohmann::json& lun : images[0]["luns"]) {
            EXPECT_EQ(fs::file_size(lun["device"].get<std::string>()), size_t{256} << 10U);
        }
        EXPECT_EQ(entriesIn(m_demo.home() / "images"), 1U);
        EXPECT_EQ(m_demo.lmsh("delete timeimage \"T\" \"cg1\"").status, 0);
        EXPECT_THAT(namesIn(m_demo.home() / "images"), IsEmpty());
    }
}

TEST_F(Disturbed, WhileAnotherToolHasTheStoreOpenAFailedCommitDoesNotLoseItsContent)
{
    // A command that waits at the gate has the store open: what the log holds beyond its last sound commit is not seen
    // until it has gone.
    m_demo.lmadm({"fault", "arm", "hang", "--match", "list hosts"});
    CProcess other(lmshCommand(), script("list hosts"), m_demo.root("prod").string());
    ASSERT_TRUE(eventually([this] { return !m_demo.document({"fault", "show", "1"})["commands"].empty(); }));
    EXPECT_EQ(lmsh("create annotation \"A\" \"cg1\"\ncommit", "fdatasync", 1, "error=EIO").status, 6);
    EXPECT_EQ(listed("annotations"), 0U);
    // One that collects, and is killed before it has changed the log.
    EXPECT_EQ(lmsh("create annotation \"B\" \"cg1\"\ncommit", "fsync", 1, "signal=KILL").status, KILLED);
    other.kill();
    other.wait();
    if (listed("annotations") == 1) m_demo.createTimeImage("T", "A", "backup");
}

TEST_F(Disturbed, WhatADisturbedCommandLeavesOfALunTheNextOneRemoves)
{
    const std::vector<std::pair<std::string, std::string>> disturbances = {
        {"rename", "signal=KILL"}, {"rename", "error=EIO"},      {"fsync", "signal=KILL"},
        {"fsync", "error=EIO"},    {"fdatasync", "signal=KILL"}, {"fdatasync", "error=EIO"},
        {"unlink", "signal=KILL"}, {"unlinkat", "signal=KILL"},  {"unlink", "error=EIO"},
        {"unlinkat", "error=EIO"}};
    for (const auto& [call, how] : disturbances) {
        for (int number = 1; number <= 2; ++number) {
            const std::string place = call + " " + std::to_string(number) + " " + how;
            lmadm({"lun", "create", "new", "--group", "cg1", "--size", "4KiB"}, call, number, how);
            if (luns().count("new") != 0) lmadm({"lun", "delete", "new"}, call, number, how);
            EXPECT_EQ(m_demo.lmadm({"lun", "create", "next", "--group", "cg1", "--size", "4KiB"}).status, 0) << place;
            EXPECT_EQ(namesIn(m_demo.home() / "dev"), luns()) << place;
            EXPECT_THAT(namesIn(m_demo.home() / "work"), IsEmpty()) << place;
            EXPECT_EQ(m_demo.lmadm({"lun", "delete", "new"}).status, luns().count("new") != 0 ? 0 : 3) << place;
            EXPECT_EQ(m_demo.lmadm({"lun", "delete", "next"}).status, 0) << place;
            EXPECT_EQ(namesIn(m_demo.home() / "dev"), luns()) << place;
        }
    }
}

TEST_F(Disturbed, AnApplianceWhoseDeletionWasKilledIsWholeOrGone)
{
    const fs::path home = m_demo.store() / "var/lib/lumora/beta";
    for (const std::string call : {"fdatasync", "unlinkat", "rmdir"}) {
        for (int number = 1; number <= 7; ++number) {
            const std::string place = call + " " + std::to_string(number);
            ASSERT_EQ(m_demo.lmadm({"appliance", "create", "beta"}).status, 0) << place;
            if (lmadm({"appliance", "delete", "beta"}, call, number, "signal=KILL").status == 0) {
                EXPECT_FALSE(fs::exists(home)) << place;
                continue;
            }
            if (m_demo.document({"appliance", "list"})["appliances"].size() == 2) {
                EXPECT_EQ(m_demo.lmadm({"--appliance", "beta", "group", "create", "g"}).status, 0) << place;
                EXPECT_EQ(m_demo.lmadm({"--appliance", "beta", "lun", "create", "l", "--group", "g", "--size", "1KiB"})
                              .status,
                          0)
                    << place;
                EXPECT_EQ(m_demo.lmadm({"--appliance", "beta", "lun", "delete", "l"}).status, 0) << place;
                EXPECT_EQ(m_demo.lmadm({"--appliance", "beta", "group", "delete", "g"}).status, 0) << place;
                EXPECT_EQ(m_demo.lmadm({"appliance", "delete", "beta"}).status, 0) << place;
            } else {
                EXPECT_EQ(m_demo.lmadm({"appliance", "create", "gamma"}).status, 0) << place;
                EXPECT_EQ(m_demo.lmadm({"appliance", "delete", "gamma"}).status, 0) << place;
            }
            EXPECT_FALSE(fs::exists(home)) << place;
        }
    }
}

TEST_F(Disturbed, AFolderOfSomebodyElseBesideTheAppliancesStays)
{
    const fs::path foreign = m_demo.store() / "var/lib/lumora/notes";
    fs::create_directories(foreign / "dev");
    writeFile(foreign / "mine", "text");
    EXPECT_EQ(m_demo.lmadm({"appliance", "create", "beta"}).status, 0);
    EXPECT_EQ(m_demo.lmadm({"appliance", "delete", "beta"}).status, 0);
    EXPECT_TRUE(fs::exists(foreign / "mine"));
    EXPECT_TRUE(fs::exists(foreign / "dev"));
}

TEST_F(Disturbed, AHostThatIsSetUpAnewKeepsOtherSettingsAndNoOtherFile)
{
    const fs::path folder = m_demo.root("prod") / "etc/qz";
    const std::string other = "[OTHER]\nKEY=1\n";
    writeFile(folder / "cdpfi.conf", contentOf(folder / "cdpfi.conf") + other);
    const std::set<std::string> names = namesIn(folder);
    const std::vector<std::string> setup = {"host", "setup", "--root", m_demo.root("prod").string(), "--host", "prod"};
    for (int number = 1; number <= 50; ++number) {
        lmadm(setup, "newfstatat", number, "error=EIO");
        EXPECT_THAT(contentOf(folder / "cdpfi.conf"), testing::HasSubstr(other)) << number;
    }
    for (int number = 1; number <= 4; ++number) {
        EXPECT_EQ(lmadm(setup, "rename", number, "signal=KILL").status, KILLED);
    }
    EXPECT_EQ(m_demo.lmadm(setup).status, 0);
    EXPECT_THAT(contentOf(folder / "cdpfi.conf"), testing::HasSubstr(other));
    EXPECT_EQ(namesIn(folder), names);
    EXPECT_EQ(entriesIn(m_demo.root("prod") / "opt/QXPKlm/bin"), 1U);
}

TEST_F(Disturbed, FaultsThatAreArmedStay)
{
    const std::vector<std::string> arm = {"fault", "arm", "error", "--match", "no such command"};
    EXPECT_EQ(lmadm(arm, "rename", 1, "signal=KILL").status, KILLED);
    EXPECT_EQ(m_demo.lmadm(arm).status, 0);
    for (int number = 1; number <= 40; ++number) {
        lmadm(arm, "newfstatat", number, "error=EIO");
        EXPECT_EQ(m_demo.document({"fault", "show", "1"})["match"], "no such command") << number;
    }
    for (const std::string& name : namesIn(m_demo.store() / "var/lib/lumora")) {
        EXPECT_THAT(name, testing::Not(testing::HasSubstr(".new")));
    }
}

TEST_F(Disturbed, TheGateOfAGroupThatIsGoneIsRemoved)
{
    EXPECT_EQ(m_demo.lmadm({"group", "create", "other"}).status, 0);
    EXPECT_EQ(m_demo.lmadm({"lun", "create", "x", "--group", "other", "--size", "1KiB"}).status, 0);
    EXPECT_EQ(m_demo.lmadm({"write", "x", "--offset", "0", "--pattern", "x"}).status, 0);
    EXPECT_EQ(m_demo.lmadm({"write", "lun1", "--offset", "0", "--pattern", "x"}).status, 0);
    EXPECT_EQ(m_demo.lmadm({"lun", "delete", "x"}).status, 0);
    EXPECT_EQ(namesIn(m_demo.home() / "gate"), (std::set<std::string>{"1", "2"}));
    EXPECT_EQ(lmadm({"group", "delete", "other"}, "unlink", 1, "signal=KILL").status, KILLED);
    EXPECT_EQ(m_demo.lmadm({"group", "create", "another"}).status, 0);
    EXPECT_EQ(m_demo.lmadm({"group", "delete", "another"}).status, 0);
    EXPECT_EQ(namesIn(m_demo.home() / "gate"), (std::set<std::string>{"1"}));
}

}  // namespace

}  // namespace lumora::test
