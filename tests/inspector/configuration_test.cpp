// Configuration that is odd, broken or not there: always a whole document and exit status 0.
#include <regex>
#include <set>

#include "tests/inspector/inspector_fixture.h"

namespace {

class InspectorConfiguration : public CInspectorTest
{
  protected:
    CJson configuration() { return document({"--timeout", "5"}).at("configuration"); }
};

/// The path of every key in a document, list places left out: "appliances.groups.name".
void collectKeys(const nlohmann::json& json, const std::string& path, std::set<std::string>& keys)
{
    if (json.is_array()) {
        for (const nlohmann::json& entry : json) {
            collectKeys(entry, path, keys);
        }
    } else if (json.is_object()) {
        for (const auto& [key, value] : json.items()) {
            const std::string inner = path.empty() ? key : path + "." + key;
            keys.insert(inner);
            collectKeys(value, inner, keys);
        }
    }
}

}  // namespace

TEST_F(InspectorConfiguration, NothingConfiguredIsStillAWholeDocument)
{
    const CJson told = document({});
    EXPECT_EQ(told.at("appliances"), CJson::array());
    EXPECT_EQ(told.at("configuration").at("appliances"), CJson::array());
    EXPECT_EQ(
        told.at("configuration").at("files"),
        CJson::parse(R"([{"path": ")" + place("/etc/qz/hls.conf") +
                     R"(", "read": false, "reason": "No such file or directory"}, {"path": ")" +
                     place("/etc/qz/cdpfi.conf") + R"(", "read": false, "reason": "No such file or directory"}])"));
    EXPECT_EQ(named(told.at("tools"), "lmsh").at("answers"), nullptr);
    EXPECT_EQ(named(told.at("tools"), "lmsh").at("path"), "/opt/QXPKlm/bin/lmsh");
}

TEST_F(InspectorConfiguration, ValuesAreToldWithTheLineThatSetsThem)
{
    writeFile("/etc/qz/hls.conf", "");
    writeFile("/etc/qz/cdpfi.conf",
              "# tools\n[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=/nowhere\nLMR_LMSH_PATH = \"/there/\"\n\n"
              "[FI_NETWORK]\nLOCAL_NAME=production\n[FI_EXEC]\nMAX_TIMEOUT=30\n");
    const CJson told = configuration();
    EXPECT_TRUE(told.at("files").at(0).at("read"));
    EXPECT_EQ(named(told.at("values"), "LMR_CLI_CONFIG/LMR_LMSH_PATH"), CJson({{"name", "LMR_CLI_CONFIG/LMR_LMSH_PATH"},
                                                                               {"value", "/there/"},
                                                                               {"file", place("/etc/qz/cdpfi.conf")},
                                                                               {"line", 4}}));
    EXPECT_EQ(named(told.at("values"), "FI_EXEC/MAX_TIMEOUT").at("line"), 9);
    EXPECT_EQ(named(told.at("values"), "FI_TRACE/LEVEL"),
              CJson({{"name", "FI_TRACE/LEVEL"}, {"value", "2"}, {"file", nullptr}, {"line", nullptr}}));
}

TEST_F(InspectorConfiguration, TheValuesAreThoseOfTheParameterDescription)
{
    const std::string description = contentOf(PARAMETER_DESCRIPTION);
    const std::regex parameter("<parameter name=\"([^\"]*)\" type=\"[a-z]*\" default=\"([^\"]*)\"");
    CJson expected = CJson::array();
    for (std::sregex_iterator each(description.begin(), description.end(), parameter), end; each != end; ++each) {
        expected.push_back({{"name", (*each)[1]}, {"value", (*each)[2]}, {"file", nullptr}, {"line", nullptr}});
    }
    EXPECT_GE(expected.size(), 10u);
    EXPECT_EQ(configuration().at("values"), expected);
}

TEST_F(InspectorConfiguration, LinesThatCannotBeReadAreToldWithTheirPlace)
{
    writeFile("/etc/qz/hls.conf", "RSURL\n\nRSURL=a=b\n# RSURL names appliances\nRSURL=::\nport=9000\n");
    writeFile("/etc/qz/cdpfi.conf", "early=1\n[FI_EXEC]\nno value\n[[x\nMAX_TIMEOUT=30\n");
    const CJson told = configuration();
    const std::string list = place("/etc/qz/hls.conf");
    const std::string store = place("/etc/qz/cdpfi.conf");
    EXPECT_EQ(told.at("unreadable_lines"), CJson({{{"file", list}, {"line", 1}, {"text", "RSURL"}},
                                                  {{"file", list}, {"line", 3}, {"text", "RSURL=a=b"}},
                                                  {{"file", list}, {"line", 5}, {"text", "RSURL=::"}},
                                                  {{"file", store}, {"line", 1}, {"text", "early=1"}},
                                                  {{"file", store}, {"line", 3}, {"text", "no value"}},
                                                  {{"file", store}, {"line", 4}, {"text", "[[x"}}}));
    EXPECT_EQ(told.at("appliances"), CJson::array());
    EXPECT_EQ(named(told.at("values"), "FI_EXEC/MAX_TIMEOUT").at("value"), "30");
}

TEST_F(InspectorConfiguration, ACommentThatNamesAnApplianceIsSaidToBeTaken)
{
    writeFile("/etc/qz/hls.conf", "RSURL=alpha:1\n  #RSURL=old:9000\nXRSURL=gamma\nRSURL=alpha:2\n");
    const CJson told = configuration();
    const std::string list = place("/etc/qz/hls.conf");
    EXPECT_EQ(told.at("commented_appliances"),
              CJson({{{"file", list}, {"line", 2}, {"text", "  #RSURL=old:9000"}, {"appliance", "old"}}}));
    EXPECT_EQ(told.at("appliances"), CJson({{{"name", "alpha"}, {"port", "2"}, {"file", list}, {"line", 4}},
                                            {{"name", "gamma"}, {"port", nullptr}, {"file", list}, {"line", 3}},
                                            {{"name", "old"}, {"port", "9000"}, {"file", list}, {"line", 2}}}));
}

TEST_F(InspectorConfiguration, WhatIsNoReadableFileIsNamedWithTheReason)
{
    std::filesystem::create_directories(place("/etc/qz/hls.conf"));
    writeFile("/etc/qz/cdpfi.conf", std::string(1024 * 1024 + 1, '#'));
    CJson files = configuration().at("files");
    EXPECT_EQ(files.at(0).at("reason"), "not a regular file");
    EXPECT_EQ(files.at(1).at("reason"), "larger than 1 MiB");

    std::filesystem::remove(place("/etc/qz/hls.conf"));
    std::filesystem::remove(place("/etc/qz/cdpfi.conf"));
    ASSERT_EQ(site.shell("production", "mkfifo " + place("/etc/qz/hls.conf")).status, 0);
    std::filesystem::create_symlink("cdpfi.conf", place("/etc/qz/cdpfi.conf"));
    files = configuration().at("files");
    EXPECT_EQ(files.at(0).at("reason"), "not a regular file");
    EXPECT_EQ(files.at(1).at("reason"), "Too many levels of symbolic links");
}

TEST_F(InspectorConfiguration, AnApplianceWhoseNameCannotBeSentIsAskedNothing)
{
    writeFile("/etc/qz/hls.conf", "RSURL=al\"pha:1\nRSURL=beta\r\n");
    const CJson told = document({}).at("appliances");
    ASSERT_EQ(told.size(), 2u);
    for (const CJson& appliance : told) {
        EXPECT_FALSE(appliance.at("reachable"));
        EXPECT_EQ(appliance.at("reason"),
                  "the appliance's name holds a double quote or a control character, so nothing is sent");
    }
}

TEST_F(InspectorConfiguration, ANameThatNobodyCanResolveIsTold)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.setUpHosts();
    std::string store = contentOf(place("/etc/qz/cdpfi.conf"));
    store.replace(store.find("LOCAL_NAME=production"), 21, "LOCAL_NAME=nobody.invalid");
    writeFile("/etc/qz/cdpfi.conf", store);
    const CJson told = document({});
    EXPECT_EQ(told.at("host"), CJson({{"name", "nobody.invalid"},
                                      {"further_names", CJson::array()},
                                      {"reason", "the resolver knows no address of nobody.invalid"}}));
    EXPECT_EQ(told.at("appliances").at(0).at("host_here"), nullptr);
    EXPECT_EQ(told.at("appliances").at(0).at("hosts").size(), 2u);
}

TEST_F(InspectorConfiguration, TheConfiguredTimeLimitIsKept)
{
    replaceTool("lmsh", "exec sleep 60");
    writeFile("/etc/qz/hls.conf", "RSURL=alpha:1\n");
    writeFile("/etc/qz/cdpfi.conf", contentOf(place("/etc/qz/cdpfi.conf")) + "[FI_EXEC]\nMAX_TIMEOUT=1\n");
    EXPECT_EQ(document({"--timeout", "50"}).at("appliances").at(0).at("reason"),
              "no answer within 1 s to \"list hosts\"");
}

TEST_F(InspectorConfiguration, NothingIsWrittenOnTheHost)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.setUpHosts();
    std::set<std::string> before;
    std::set<std::string> after;
    const auto files = [&](std::set<std::string>& names) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(place("/"))) {
            names.insert(entry.path());
        }
    };
    files(before);
    document({});
    files(after);
    EXPECT_EQ(before, after);
}

TEST_F(InspectorConfiguration, AFullOutputIsAFailure)
{
    const SRun done = site.shell("production", std::string(CDPFI_INSPECTOR) + " >/dev/full");
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.err, "cdpfi-inspect: cannot write to standard output: No space left on device\n");
}

TEST_F(InspectorConfiguration, WrongUsageIsToldOnStandardErrorWithoutADocument)
{
    using CWords = std::vector<std::string>;
    for (const CWords& words : {CWords{"--timeout", "0"},
                                {"--timeout", "x"},
                                {"--appliance"},
                                {"show"},
                                {"--colour"},
                                {"release", "a", "b"},
                                {"release", "a", "--appliance", "c"},
                                {"--appliance", "c", "release", "a", "b"}}) {
        const SRun done = run(words);
        EXPECT_EQ(done.status, 2) << done.err;
        EXPECT_EQ(done.out, "");
        EXPECT_NE(done.err, "");
    }
}

TEST_F(InspectorConfiguration, EveryKeyOfTheDocumentsIsAlwaysThereAndDocumented)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.addGroup("alpha", site.serial("alpha", "a1"), {"a2"});
    site.setUpHosts();
    makeImage("alpha", "cg1", "1", "backup");
    replaceTool("lmsh",
                "case \"$script\" in *'show  host'*backup*) exit 0;; *'show  cgroup'*'\"LM'*) echo x; exit 0;; esac\n" +
                    realTool("lmsh") + " | sed 's,^/dev/lumora/a1,/dev/lumora/a-1,'");
    writeFile("/etc/qz/hls.conf", "#RSURL=alpha:9000\nRSURL\n");
    std::set<std::string> keys;
    std::set<std::string> keysOfRelease;
    collectKeys(document({"--raw"}), "", keys);
    collectKeys(document({"release", "cg1", "none", "--appliance", "alpha"}), "", keysOfRelease);
    EXPECT_EQ(keys.size(), 105u);
    EXPECT_EQ(keysOfRelease.size(), 10u);
    const std::string manual = contentOf(INSPECTOR_MANUAL);
    const size_t release = manual.find("## The release document");
    ASSERT_NE(release, std::string::npos);
    for (const std::string& key : keys) {
        EXPECT_LT(manual.find("\n| `" + key + "` |"), release) << key;
    }
    for (const std::string& key : keysOfRelease) {
        EXPECT_NE(manual.find("\n| `" + key + "` |", release), std::string::npos) << key;
    }

    // Of an empty site the document has the same keys as far as its lists go.
    std::filesystem::remove_all(place("/etc"));
    std::set<std::string> few;
    collectKeys(document({}), "", few);
    for (const std::string key : {"format",
                                  "schema_version",
                                  "provider",
                                  "provider_version",
                                  "taken",
                                  "seconds",
                                  "configuration",
                                  "tools",
                                  "parallel",
                                  "host",
                                  "disks",
                                  "appliances",
                                  "ambiguous",
                                  "unlistable",
                                  "raw",
                                  "configuration.files",
                                  "configuration.values",
                                  "configuration.unreadable_lines",
                                  "configuration.commented_appliances",
                                  "configuration.appliances",
                                  "host.name",
                                  "host.further_names",
                                  "host.reason",
                                  "disks.read",
                                  "disks.reason",
                                  "disks.devices"}) {
        EXPECT_EQ(few.count(key), 1u) << key;
    }
}
