// What the inspector tells of whole sites of the embedded appliance.
#include <regex>

#include "tests/inspector/inspector_fixture.h"

namespace {

class Inspector : public CInspectorTest
{
  protected:
    /// The document with names in place of what differs from run to run.
    std::string comparable(std::string text) const
    {
        const auto replaceAll = [&](const std::string& what, const std::string& by) {
            for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
                text.replace(at, what.size(), by);
            }
        };
        replaceAll(site.folder().string(), "SITE");
        replaceAll(CDPFI_BIN_DIR, "BIN");
        text = std::regex_replace(text, std::regex("\"[0-9-]{10}T[0-9:]{8}Z\""), "\"TIME\"");
        text = std::regex_replace(text, std::regex("\"seconds\": [0-9.e-]+"), "\"seconds\": \"SECONDS\"");
        text = std::regex_replace(text, std::regex("images/[0-9a-f]+/"), "images/ID/");
        for (const std::string lun : {"data", "journal"}) {
            replaceAll(site.serial("alpha", lun), "SERIAL-" + lun);
        }
        text = std::regex_replace(text, std::regex("\"target\": \"LM[0-9A-F]+\""), "\"target\": \"TARGET\"");
        return text;
    }
};

}  // namespace

TEST_F(Inspector, ASiteIsToldInOneDocument)
{
    site.addGroup("alpha", "payroll", {"data", "journal"});
    site.setUpHosts();
    makeImage("alpha", "payroll", "77", "backup");
    ASSERT_EQ(site.lmadm({"lun", "unpresent", "journal", "production"}).status, 0);
    const SRun done = run({});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(nlohmann::json::parse(comparable(done.out)),
              nlohmann::json::parse(contentOf(INSPECTOR_TESTS "/expected_site.json")))
        << comparable(done.out);
}

TEST_F(Inspector, AGroupWhoseNameIsAnothersSerialIsAmbiguous)
{
    site.addGroup("alpha", "payroll", {"data", "journal"});
    const std::string serial = site.serial("alpha", "data");
    site.addGroup("alpha", serial, {"other"});
    site.addGroup("beta", serial, {"third"});
    site.setUpHosts();
    const CJson ambiguous = document({}).at("ambiguous");
    EXPECT_EQ(ambiguous, CJson::parse(R"([{"serial": ")" + serial + R"(",
        "reason": "it is also the name of group )" +
                                      serial + " of appliance alpha, group " + serial +
                                      R"( of appliance beta",
        "places": [{"appliance": "alpha", "group": ")" +
                                      serial + R"("}, {"appliance": "alpha", "group": "payroll"},
                   {"appliance": "beta", "group": ")" +
                                      serial + R"("}]}])"));
}

TEST_F(Inspector, NamesOfAnyKindAreToldAsTheyAre)
{
    const std::vector<std::string> names{
        "db that does not exist", "a<b",   "x images=1", "Time images:",      "Annotations:", "x] failed with error [y",
        "exists already",         "[a,b]", "release",    "Gr\xc3\xbc\xc3\x9f"};
    for (size_t i = 0; i < names.size(); ++i) {
        site.addGroup("alpha", names[i], {"lun" + std::to_string(i)});
    }
    site.setUpHosts();
    for (const std::string& name : names) {
        const SRun made =
            site.lmsh("production", "alpha",
                      "create annotation \"" + name + "\" \"" + name + "\"\\nset message \"" + name + "\"\\ncommit");
        ASSERT_EQ(made.status, 0) << made.err;
    }
    const CJson appliance = document({}).at("appliances").at(0);
    EXPECT_EQ(appliance.at("reason"), nullptr);
    ASSERT_EQ(appliance.at("groups").size(), names.size());
    for (const std::string& name : names) {
        const CJson& group = named(appliance.at("groups"), name);
        EXPECT_EQ(group.at("luns").size(), 1u) << name;
        EXPECT_EQ(group.at("annotations").at(0).at("name"), name);
        EXPECT_EQ(group.at("annotations").at(0).at("message"), name);
        EXPECT_EQ(group.at("images"), CJson::array()) << name;
        const CJson alone = document({"--group=" + name}).at("appliances").at(0).at("groups");
        ASSERT_EQ(alone.size(), 1u) << name;
        EXPECT_EQ(alone.at(0), group);
    }
}

TEST_F(Inspector, BytesThatAreNoUtf8AreReplaced)
{
    site.addGroup("alpha", "cafe", {"data"});
    site.setUpHosts();
    replaceTool("lmsh", realTool("lmsh") + " | LC_ALL=C sed 's/cafe/caf\\xe9/'");
    EXPECT_EQ(document({}).at("appliances").at(0).at("groups").at(0).at("name"), "caf\xef\xbf\xbd");
}

TEST_F(Inspector, PermissionsOfTheGroupAndOfAnImageAreToldApart)
{
    site.addGroup("alpha", "payroll", {"data"});
    site.setUpHosts();
    makeImage("alpha", "payroll", "1", "backup");
    ASSERT_EQ(site.lmsh("production", "alpha", "update timeimage \"payroll\"\\nadd permission \"production\"\\ncommit")
                  .status,
              0);
    const CJson group = document({}).at("appliances").at(0).at("groups").at(0);
    EXPECT_EQ(group.at("permissions"), CJson({"production"}));
    EXPECT_EQ(group.at("images").at(0).at("permissions"), CJson({"backup"}));
}

TEST_F(Inspector, AnImageThatShowsHereIsToldWithItsPath)
{
    site.addGroup("alpha", "payroll", {"data"});
    site.setUpHosts();
    makeImage("alpha", "payroll", "1", "production");
    const auto path = [&] {
        return document({}).at("appliances").at(0).at("groups").at(0).at("images").at(0).at("luns").at(0).at("path");
    };
    EXPECT_EQ(path(), nullptr);
    ASSERT_EQ(site.shell("production", "kforutil discover").status, 0);
    ASSERT_TRUE(path().is_string());
    EXPECT_EQ(contentOf(path().get<std::string>()), contentOf(site.device("alpha", "data")));
}

TEST_F(Inspector, OnlyTheAppliancesAndGroupsThatAreNamedAreAsked)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.addGroup("alpha", "cg2", {"a2"});
    site.addGroup("beta", "cg1", {"b1"});
    site.setUpHosts();
    CJson found = document({"--appliance", "beta"});
    EXPECT_EQ(found.at("appliances").size(), 1u);
    EXPECT_EQ(found.at("configuration").at("appliances").size(), 2u);

    found = document({"--appliance", "alpha", "--appliance", "beta", "--group", "cg2"}).at("appliances");
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found.at(0).at("groups").size(), 1u);
    EXPECT_EQ(found.at(0).at("groups").at(0).at("name"), "cg2");
    EXPECT_EQ(found.at(0).at("hosts"), CJson::parse(R"([{"name": "backup", "luns": null},
                                                        {"name": "production", "luns": null}])"));
    EXPECT_TRUE(found.at(1).at("groups_read"));
    EXPECT_EQ(found.at(1).at("groups"), CJson::array());

    EXPECT_EQ(document({"--appliance", "gamma"}).at("appliances"), CJson::array());
}

TEST_F(Inspector, AnApplianceThatRefusesEverythingSaysWhy)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.addGroup("beta", "cg1", {"b1"});
    site.setUpHosts();
    ASSERT_EQ(
        site.lmadm({"--appliance", "alpha", "fault", "arm", "error", "--match", "alpha: ", "--times", "0"}).status, 0);
    const CJson found = document({}).at("appliances");
    EXPECT_FALSE(found.at(0).at("reachable"));
    EXPECT_TRUE(found.at(0).at("reason").get<std::string>().starts_with("lmsh exited with status 1: lmsh: "));
    EXPECT_FALSE(found.at(0).at("hosts_read"));
    EXPECT_FALSE(found.at(0).at("groups_read"));
    EXPECT_TRUE(found.at(1).at("reachable"));
    EXPECT_EQ(found.at(1).at("reason"), nullptr);
}

TEST_F(Inspector, AnAnswerThatIsNoiseOrCutIsNoListing)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.setUpHosts();
    ASSERT_EQ(site.lmadm({"fault", "arm", "cut", "--at", "30", "--match", "show cgroup"}).status, 0);
    const CJson appliance = document({}).at("appliances").at(0);
    EXPECT_TRUE(appliance.at("reachable"));
    const CJson& group = appliance.at("groups").at(0);
    EXPECT_FALSE(group.at("read"));
    EXPECT_EQ(group.at("reason"), "the answer to \"show cgroup \"cg1\"\" is no listing: its last line does not end");
    EXPECT_TRUE(group.at("images_read"));
    EXPECT_EQ(appliance.at("not_listings"),
              CJson::parse(R"([{"command": "show cgroup \"cg1\"", "lines": ["Consistency Group: cg1", "Protect"]}])"));

    const std::string line = "Consistency Group: cg1\n";
    ASSERT_EQ(site.lmadm({"fault", "arm", "cut", "--at", std::to_string(line.size()), "--match", "show cgroup"}).status,
              0);
    EXPECT_EQ(document({}).at("appliances").at(0).at("groups").at(0).at("reason"),
              "the answer to \"show cgroup \"cg1\"\" is no listing: \"Protected LUNS:\" is missing");

    ASSERT_EQ(site.lmadm({"fault", "arm", "garble", "--match", "list cgroups"}).status, 0);
    const CJson noise = document({}).at("appliances").at(0);
    EXPECT_FALSE(noise.at("groups_read"));
    EXPECT_EQ(noise.at("groups"), CJson::array());
    EXPECT_EQ(noise.at("not_listings").at(0).at("command"), "list cgroups");
}

TEST_F(Inspector, RawHasEveryCommandWithItsAnswer)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.setUpHosts();
    EXPECT_EQ(document({}).at("raw"), nullptr);
    std::vector<std::string> commands;
    const CJson raw = document({"--raw"}).at("raw");
    for (const CJson& run : raw) {
        commands.push_back((run.at("appliance").is_null() ? "" : run.at("appliance").get<std::string>() + ": ") +
                           run.at("command").get<std::string>());
        EXPECT_EQ(run.at("exit"), 0);
        EXPECT_EQ(run.at("signal"), nullptr);
        EXPECT_GT(run.at("seconds"), 0);
    }
    EXPECT_EQ(commands, (std::vector<std::string>{"\"" + std::string(CDPFI_BIN_DIR) + "/kforutil\" listdisk",
                                                  "alpha: list hosts", "alpha: show host \"backup\"",
                                                  "alpha: show host \"production\"", "alpha: list cgroups",
                                                  "alpha: show cgroup \"cg1\"", "alpha: list timeimages \"cg1\""}));
    EXPECT_EQ(raw.at(1).at("output"), "backup\nproduction\n");
}
