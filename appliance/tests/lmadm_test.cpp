// lmadm: each command with its answer, its refusals, and the files that it writes for a host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class Lmadm : public testing::Test
{
  protected:
    Lines answer(const std::vector<std::string>& command) const
    {
        const SResult result = m_demo.lmadm(command);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
        return normalised(result.out);
    }

    CDemoStore m_demo;
};

TEST_F(Lmadm, Appliances)
{
    EXPECT_THAT(answer({"appliance", "create", "beta"}), ElementsAre("name: beta", "created: TIME"));
    EXPECT_EQ(m_demo.document({"appliance", "list"}).at("appliances").at(1).at("name"), "beta");
    EXPECT_THAT(answer({"appliance", "show", "alpha"}),
                ElementsAre("name: alpha", "created: TIME", "folder: " + m_demo.home().string(), "engine: files",
                            "hosts:", "  backup", "  prod", "groups:", "  name  luns  annotations  time_images",
                            "  cg1   2     0            0"));
    EXPECT_THAT(answer({"appliance", "delete", "beta"}), ElementsAre("deleted: beta"));
    EXPECT_FALSE(fs::exists(m_demo.store() / "var/lib/lumora/beta"));
    m_demo.expectRefusal({"appliance", "delete", "beta"}, 3,
                         "appliance \"beta\" does not exist; see what exists: lmadm appliance list");
    m_demo.expectRefusal({"appliance", "create", "alpha"}, 4,
                         "appliance \"alpha\" exists already; choose another name, or delete the existing one first");
    m_demo.expectRefusal({"appliance", "delete", "alpha"}, 5,
                         "appliance \"alpha\" still has groups; remove what uses it first");
    m_demo.expectRefusal(
        {"appliance", "create", "a/b"}, 2,
        "appliance name \"a/b\" may hold letters and digits, \".\", \"_\", \"-\" and must begin with a letter or "
        "digit; see lmadm --help");
}

TEST_F(Lmadm, AsksWhichApplianceWhenThereAreSeveral)
{
    answer({"appliance", "create", "beta"});
    m_demo.expectRefusal(
        {"group", "list"}, 2,
        "the store holds several appliances (alpha, beta); choose one with --appliance NAME; see lmadm --help");
    EXPECT_THAT(answer({"group", "list", "--appliance", "beta"}), ElementsAre("(none)"));
}

TEST_F(Lmadm, Hosts)
{
    EXPECT_THAT(answer({"host", "create", "third"}), ElementsAre("name: third"));
    EXPECT_THAT(answer({"host", "list"}), ElementsAre("name", "backup", "prod", "third"));
    EXPECT_THAT(answer({"host", "delete", "third"}), ElementsAre("deleted: third"));
    m_demo.expectRefusal({"host", "delete", "third"}, 3,
                         "host \"third\" does not exist on appliance \"alpha\"; see what exists: lmadm host list");
    m_demo.expectRefusal(
        {"host", "create", "prod"}, 4,
        "host \"prod\" exists already on appliance \"alpha\"; choose another name, or delete the existing one "
        "first");
    m_demo.expectRefusal(
        {"host", "create", "Prod"}, 4,
        "host \"Prod\" differs from host \"prod\" on appliance \"alpha\" by case alone; choose another "
        "name, or delete the existing one first");
    m_demo.expectRefusal({"host", "delete", "prod"}, 5,
                         "host \"prod\" still has LUNs presented to it; remove what uses it first");
}

TEST_F(Lmadm, Groups)
{
    EXPECT_THAT(answer({"group", "create", "cg 2"}),
                ElementsAre("name: cg 2", "luns: 0", "annotations: 0", "time_images: 0"));
    EXPECT_THAT(answer({"group", "list"}), ElementsAre("name  luns  annotations  time_images",
                                                       "cg 2  0     0            0", "cg1   2     0            0"));
    EXPECT_THAT(answer({"group", "delete", "cg 2"}), ElementsAre("deleted: cg 2"));
    m_demo.expectRefusal({"group", "delete", "cg1"}, 5,
                         "group \"cg1\" still has 2 LUNs, 0 annotations and 0 time images; remove what uses it first");
    m_demo.expectRefusal({"group", "show", "none"}, 3,
                         "group \"none\" does not exist on appliance \"alpha\"; see what exists: lmadm group list");
    m_demo.expectRefusal({"group", "create", "a\"b"}, 2,
                         "group name \"a\"b\" must not hold a double quote or a control character; see lmadm --help");
}

TEST_F(Lmadm, ShowsAGroupAsADocument)
{
    m_demo.createAnnotation("A");
    m_demo.createTimeImage("T", "A", "backup");
    const nlohmann::json group = m_demo.document({"group", "show", "cg1"});
    EXPECT_EQ(group.at("luns").at(0).at("device"), (m_demo.home() / "dev/lun1").string());
    EXPECT_EQ(group.at("luns").at(0).at("bytes"), 262144);
    EXPECT_EQ(group.at("annotations").at(0).at("time_images"), 1);
    const nlohmann::json& image = group.at("time_images").at(0);
    EXPECT_EQ(image.at("annotation"), "A");
    EXPECT_EQ(image.at("permissions").at(0), "backup");
    EXPECT_EQ(image.at("luns").at(1).at("source_serial"), group.at("luns").at(1).at("serial"));
    EXPECT_TRUE(fs::exists(image.at("luns").at(1).at("device").get<std::string>()));
}

TEST_F(Lmadm, Luns)
{
    writeFile(m_demo.folder() / "content", "hello");
    EXPECT_THAT(answer({"lun", "create", "lun3", "--group", "cg1", "--size", "8KiB", "--file",
                        (m_demo.folder() / "content").string()}),
                ElementsAre("name: lun3", "group: cg1", "size: 8KiB", "bytes: 8192", "serial: SERIAL",
                            "device: " + (m_demo.home() / "dev/lun3").string()));
    EXPECT_EQ(contentOf(m_demo.home() / "dev/lun3"), "hello" + std::string(8187, '\0'));
    EXPECT_EQ(m_demo.document({"lun", "list"}).at("luns").size(), 3U);
    EXPECT_EQ(entriesIn(m_demo.home() / "work"), 0U);
    EXPECT_THAT(answer({"lun", "delete", "lun3"}), ElementsAre("deleted: lun3"));
    EXPECT_FALSE(fs::exists(m_demo.home() / "dev/lun3"));
    m_demo.expectRefusal(
        {"lun", "create", "lun1", "--group", "cg1", "--size", "1MiB"}, 4,
        "LUN \"lun1\" exists already on appliance \"alpha\"; choose another name, or delete the existing one "
        "first");
    m_demo.expectRefusal({"lun", "create", "x", "--group", "none", "--size", "1MiB"}, 3,
                         "group \"none\" does not exist on appliance \"alpha\"; see what exists: lmadm group list");
    m_demo.expectRefusal({"lun", "create", "x", "--group", "cg1"}, 2, "a LUN needs a size or a file; see lmadm --help");
    m_demo.expectRefusal(
        {"lun", "create", "x", "--group", "cg1", "--size", "64MB"}, 2,
        "size \"64MB\" is not a number of bytes such as 4096, 512KiB, 64MiB or 1GiB; see lmadm --help");
    m_demo.expectRefusal({"lun", "delete", "x"}, 3,
                         "LUN \"x\" does not exist on appliance \"alpha\"; see what exists: lmadm lun list");
    m_demo.createAnnotation("A");
    m_demo.expectRefusal({"lun", "delete", "lun1"}, 5,
                         "LUN \"lun1\" is in use by annotation \"A\" in group \"cg1\"; remove what uses it first");
}

TEST_F(Lmadm, Presentations)
{
    EXPECT_THAT(answer({"lun", "present", "lun1", "backup"}),
                ElementsAre("lun: lun1", "host: backup", "presented: true"));
    EXPECT_THAT(answer({"lun", "unpresent", "lun1", "backup"}),
                ElementsAre("lun: lun1", "host: backup", "presented: false"));
    m_demo.expectRefusal(
        {"lun", "unpresent", "lun1", "backup"}, 3,
        "a presentation of LUN \"lun1\" to host \"backup\" does not exist on appliance \"alpha\"; see what "
        "exists: lmadm host list");
    m_demo.expectRefusal({"lun", "present", "lun1", "none"}, 3,
                         "host \"none\" does not exist on appliance \"alpha\"; see what exists: lmadm host list");
}

TEST_F(Lmadm, WritesReadsAndSums)
{
    EXPECT_THAT(answer({"write", "lun1", "--offset", "4KiB", "--length", "10", "--pattern", "abc"}),
                ElementsAre("lun: lun1", "offset: 4096", "written: 10"));
    EXPECT_THAT(answer({"read", "lun1", "--offset", "4096", "--length", "10"}), ElementsAre("abcabcabca"));
    writeFile(m_demo.folder() / "input", "from a file");
    EXPECT_THAT(answer({"write", "lun1", "--offset", "0", "--input", (m_demo.folder() / "input").string()}),
                ElementsAre("lun: lun1", "offset: 0", "written: 11"));
    EXPECT_THAT(answer({"read", "lun1", "--length", "11"}), ElementsAre("from a file"));
    EXPECT_THAT(answer({"checksum", "lun1", "--length", "1", "--offset", "4096"}),
                ElementsAre("lun: lun1", "fnv1a64: af63dc4c8601ec8c"));
    m_demo.expectRefusal({"write", "lun1", "--offset", "256KiB", "--length", "1", "--pattern", "a"}, 2,
                         "LUN \"lun1\" has 262144 bytes: 1 bytes at offset 262144 are not inside it; see lmadm --help");
    m_demo.expectRefusal({"write", "lun1", "--offset", "0"}, 2,
                         "write needs either --pattern TEXT or --input FILE; see lmadm --help");
    m_demo.expectRefusal({"write", "lun1", "--offset", "0", "--input", m_demo.folder().string()}, 2,
                         "input \"" + m_demo.folder().string() + "\" is not a regular file; see lmadm --help");
}

TEST_F(Lmadm, HostSetupWritesWhatAHostNeeds)
{
    answer({"appliance", "create", "beta"});
    const fs::path root = m_demo.root("prod");
    const fs::path tools = fs::path(LMADM_PATH).parent_path();
    writeFile(root / "etc/qz/hls.conf", "OTHER=1\nRSURL=gone:9000\n");
    writeFile(root / "etc/qz/cdpfi.conf",
              "[FI_TRACE]\nLEVEL=6\n[LMR_CLI_CONFIG]\nLMR_LMSH_NAME=old\n[FI_EXEC]\nMAX_TIMEOUT=5\n");
    EXPECT_THAT(answer({"host", "setup", "--root", root.string(), "--host", "prod"}),
                ElementsAre("host: prod", "root: " + root.string(), "tools: " + tools.string(),
                            "written:", "  " + root.string() + "/etc/qz/appliance.conf",
                            "  " + root.string() + "/etc/qz/hls.conf", "  " + root.string() + "/etc/qz/cdpfi.conf",
                            "  " + root.string() + "/opt/QXPKlm/bin/lmsh"));
    EXPECT_EQ(contentOf(root / "etc/qz/appliance.conf"), "STORE=" + m_demo.store().string() + "\nHOST=prod\n");
    EXPECT_EQ(contentOf(root / "etc/qz/hls.conf"), "OTHER=1\nRSURL=alpha:9000\nRSURL=beta:9000\n");
    EXPECT_EQ(contentOf(root / "etc/qz/cdpfi.conf"),
              "[FI_TRACE]\nLEVEL=6\n[LMR_CLI_CONFIG]\nLMR_LMSH_NAME=lmsh\nLMR_LMSH_PATH=" + tools.string() +
                  "/\nLMR_KFORUTIL_PATH=" + tools.string() +
                  "/\nLMR_KFORUTIL_NAME=kforutil\n[FI_EXEC]\nMAX_TIMEOUT=5\n[FI_NETWORK]\nLOCAL_NAME=prod\n");
    EXPECT_EQ(fs::read_symlink(root / "opt/QXPKlm/bin/lmsh"), tools / "lmsh");
    EXPECT_EQ(entriesIn(root / "etc/qz"), 3U);
}

TEST_F(Lmadm, HostSetupRefuses)
{
    const std::string root = (m_demo.folder() / "new").string();
    m_demo.expectRefusal(
        {"host", "setup", "--root", root, "--host", "none"}, 3,
        "host \"none\" does not exist on any appliance of the store; see what exists: lmadm host list");
    m_demo.expectRefusal({"host", "setup", "--root", root, "--host", "prod", "--tools", m_demo.folder().string()}, 2,
                         "no program lmsh in folder \"" + m_demo.folder().string() +
                             "\"; name the right one with --tools; see lmadm --help");
    EXPECT_FALSE(fs::exists(root));
}

TEST_F(Lmadm, EveryCommandHasHelp)
{
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{{},
                                                                                         {"appliance"},
                                                                                         {"appliance", "create"},
                                                                                         {"appliance", "list"},
                                                                                         {"appliance", "show"},
                                                                                         {"appliance", "delete"},
                                                                                         {"host"},
                                                                                         {"host", "create"},
                                                                                         {"host", "list"},
                                                                                         {"host", "delete"},
                                                                                         {"host", "setup"},
                                                                                         {"group"},
                                                                                         {"group", "create"},
                                                                                         {"group", "list"},
                                                                                         {"group", "show"},
                                                                                         {"group", "delete"},
                                                                                         {"lun"},
                                                                                         {"lun", "create"},
                                                                                         {"lun", "list"},
                                                                                         {"lun", "delete"},
                                                                                         {"lun", "present"},
                                                                                         {"lun", "unpresent"},
                                                                                         {"write"},
                                                                                         {"read"},
                                                                                         {"checksum"}}) {
        std::vector<std::string> asked = command;
        asked.emplace_back("--help");
        const SResult result = m_demo.lmadm(asked);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(command);
        EXPECT_THAT(result.out, testing::Contains(testing::HasSubstr("Usage:"))) << testing::PrintToString(command);
    }
}

TEST_F(Lmadm, WrongUsage)
{
    m_demo.expectRefusal({"lun", "list", "--output", "xml"}, 2,
                         "--output is table or json, not \"xml\"; see lmadm --help");
    m_demo.expectRefusal({"lun", "create", "x"}, 2, "--group is required; see lmadm --help");
    EXPECT_EQ(m_demo.lmadm({}).status, 2);
    m_demo.expectRefusal({"nonsense"}, 2, "\"nonsense\" is not understood; see lmadm --help");
    m_demo.expectRefusal({"fault", "nonsense"}, 2, "\"nonsense\" is not understood; see lmadm --help");
}

TEST_F(Lmadm, EveryAnswerIsADocumentOfItsVersion)
{
    for (const char* list : {"appliance", "host", "group", "lun", "fault"}) {
        EXPECT_EQ(m_demo.document({list, "list"}).at("schema_version"), 1) << list;
        EXPECT_TRUE(m_demo.document({list, "list"}).at(std::string(list) + "s").is_array()) << list;
    }
    EXPECT_EQ(m_demo.document({"group", "show", "cg1"}).at("schema_version"), 1);
    EXPECT_EQ(m_demo.document({"appliance", "show", "none"}),
              nlohmann::json({{"schema_version", 1},
                              {"error",
                               {{"exit", 3},
                                {"code", "missing"},
                                {"message", "appliance \"none\" does not exist"},
                                {"next", "see what exists: lmadm appliance list"}}}}));
    for (const std::vector<std::string>& wrong :
         std::vector<std::vector<std::string>>{{},
                                               {"nonsense"},
                                               {"lun", "create", "x"},
                                               {"lun", "list", "x"},
                                               {"fault", "arm", "slow", "--times", "-1"}}) {
        const nlohmann::json error = m_demo.document(wrong).at("error");
        EXPECT_EQ(error.at("exit"), 2) << testing::PrintToString(wrong);
        EXPECT_EQ(error.at("code"), "malformed") << testing::PrintToString(wrong);
    }
    EXPECT_EQ(m_demo.lmadm({"appliance", "show", "none", "--output", "json"}).err,
              Lines{"lmadm: appliance \"none\" does not exist; see what exists: lmadm appliance list"});
}

TEST(LmadmStore, MustBeThereAndFitIntoListings)
{
    const CTemporaryFolder folder;
    const auto run = [&folder](const std::string& store, const std::vector<std::string>& words) {
        std::vector<std::string> command = lmadmCommand();
        command.insert(command.end(), {"--store", (folder.path() / store).string()});
        command.insert(command.end(), words.begin(), words.end());
        return CProcess(command, "").wait();
    };
    SResult result = run("none", {"host", "list"});
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err,
                ElementsAre("lmadm: folder \"" + (folder.path() / "none").string() +
                            "\" holds no appliance store; name the right folder with --store, or create a store: lmadm "
                            "--store DIR appliance create NAME"));
    result = run("my store", {"appliance", "create", "a"});
    EXPECT_EQ(result.status, 7);
    EXPECT_FALSE(fs::exists(folder.path() / "my store"));
    result = run("none", {"appliance", "create", "a b"});
    EXPECT_EQ(result.status, 2);
    EXPECT_FALSE(fs::exists(folder.path() / "none"));
}

}  // namespace

}  // namespace lumora::test
