// What the inspector sends, and what it makes of tools that greet, hang, die or are not there.
#include <chrono>
#include <regex>
#include <sstream>

#include "tests/inspector/inspector_fixture.h"

namespace {

class InspectorTools : public CInspectorTest
{
  protected:
    /// Group "cg1" with one LUN, "a1", on appliance "alpha".
    void setUpSite()
    {
        site.addGroup("alpha", "cg1", {"a1"});
        site.setUpHosts();
    }
    /// Both tools write down what they are sent, and then do it.
    void logCommands()
    {
        const std::string log = (site.folder() / "log").string();
        replaceTool("lmsh", "printf '%s\\n' \"$script\" >>" + log + "\n" + realTool("lmsh"));
        replaceTool("kforutil", "printf 'kforutil %s\\n' \"$*\" >>" + log + "\n" + realTool("kforutil"));
    }
    /// How many commands there may be at once; behind replaceTool.
    void allowAtOnce(int count)
    {
        std::string text = contentOf(place("/etc/qz/cdpfi.conf"));
        text.insert(text.find("LMR_LMSH_PATH"), "MAX_PARALLEL=" + std::to_string(count) + "\n");
        writeFile("/etc/qz/cdpfi.conf", text);
    }
    /// The commands that were sent, without the lines around them, each with single blanks.
    std::vector<std::string> sent() const
    {
        std::istringstream log(contentOf(site.folder() / "log"));
        std::vector<std::string> commands;
        for (std::string line; std::getline(log, line);) {
            line = std::regex_replace(line, std::regex(" +"), " ");
            line = std::regex_replace(line, std::regex("^ | $"), "");
            if (line != "exit" && !line.starts_with("server ")) commands.push_back(line);
        }
        return commands;
    }
};

}  // namespace

TEST_F(InspectorTools, LunsThatTheListingOfAnImageCannotCarryAreTold)
{
    setUpSite();
    const std::string serial = site.serial("alpha", "a1");
    EXPECT_EQ(document({}).at("unlistable"), CJson::array());
    replaceTool("lmsh", realTool("lmsh") + " | sed 's,/dev/lumora/a1,/dev/lumora/a-1,'");
    EXPECT_EQ(document({}).at("unlistable"),
              CJson::parse(R"([{"serial": ")" + serial +
                           R"(", "reason": "its name on the appliance \"/dev/lumora/a-1\" )"
                           R"(holds \"-\", a mark of the listing of a time image"}])"));
    replaceTool("lmsh", realTool("lmsh") + " | sed 's/LM/L-M/'");
    EXPECT_EQ(document({}).at("unlistable"),
              CJson::parse(R"([{"serial": "L-)" + serial.substr(1) + R"(", "reason": "its serial \"L-)" +
                           serial.substr(1) + R"(\" holds \"-\", a mark of the listing of a time image"}])"));
}

TEST_F(InspectorTools, EveryCommandButReleaseOnlyListsAndShows)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.addGroup("beta", "cg2", {"b1"});
    site.setUpHosts();
    makeImage("alpha", "cg1", "1", "backup");
    logCommands();
    using CWords = std::vector<std::string>;
    size_t runs = 0;
    for (const CWords& appliance : {CWords{}, {"--appliance", "alpha"}, {"--appliance", "none"}}) {
        for (const CWords& group : {CWords{}, {"--group", "cg1"}, {"--group", "none", "--group", "cg2"}}) {
            for (const CWords& timeout : {CWords{}, {"--timeout", "30"}}) {
                for (const CWords& raw : {CWords{}, {"--raw"}}) {
                    CWords words;
                    for (const CWords& part : {appliance, group, timeout, raw}) {
                        words.insert(words.end(), part.begin(), part.end());
                    }
                    document(words);
                    ++runs;
                }
            }
        }
    }
    EXPECT_EQ(runs, 36u);
    for (const CWords& words : {CWords{"--help"}, {"--version"}, {"release", "--help"}}) {
        EXPECT_EQ(run(words).status, 0);
    }
    for (const CWords& words : {CWords{"delete"}, {"release"}, {"release", "cg1"}, {"release", "cg1", "i"}}) {
        EXPECT_EQ(run(words).status, 2);
    }
    const CWords commands = sent();
    EXPECT_GT(commands.size(), 36u);
    for (const std::string& command : commands) {
        EXPECT_TRUE(std::regex_match(
            command, std::regex("list hosts|list cgroups|show host\"?.*|show cgroup .*|list timeimages .*|"
                                "show timeimage .*|kforutil listdisk")))
            << command;
    }
}

TEST_F(InspectorTools, ReleaseDeletesOneTimeImageAndLooksWhetherItIsGone)
{
    setUpSite();
    makeImage("alpha", "cg1", "1", "backup");
    makeImage("alpha", "cg1", "2", "backup");
    logCommands();
    const CJson released = document({"release", "cg1", "KSV_Time_Image_1", "--appliance", "alpha"});
    EXPECT_EQ(released, CJson::parse(R"({"format": "obzx-release", "schema_version": 1, "appliance": "alpha",
        "group": "cg1", "image": "KSV_Time_Image_1", "released": true, "reason": null, "exit": 0,
        "output": "time image \"KSV_Time_Image_1\" deleted\n", "raw": null})"));
    EXPECT_EQ(sent(),
              (std::vector<std::string>{"delete timeimage \"KSV_Time_Image_1\" \"cg1\"", "list timeimages \"cg1\""}));
    EXPECT_EQ(site.copiesOf("alpha", "cg1").size(), 3u);  // both checkpoints and the other image
}

TEST_F(InspectorTools, ReleaseTellsItsCommandsWithTheirAnswersWhenAsked)
{
    setUpSite();
    makeImage("alpha", "cg1", "1", "backup");
    const CJson raw = document({"release", "cg1", "KSV_Time_Image_1", "--appliance", "alpha", "--raw"}).at("raw");
    ASSERT_EQ(raw.size(), 2u);
    EXPECT_EQ(raw.at(0).at("command"), "delete timeimage \"KSV_Time_Image_1\" \"cg1\"");
    EXPECT_EQ(raw.at(0).at("output"), "time image \"KSV_Time_Image_1\" deleted\n");
    EXPECT_EQ(raw.at(1).at("command"), "list timeimages \"cg1\"");
    EXPECT_EQ(raw.at(1).at("exit"), 0);
}

TEST_F(InspectorTools, ATimeImageThatIsNotThereCountsAsReleased)
{
    setUpSite();
    const CJson released = document({"release", "cg1", "KSV_Time_Image_1", "--appliance", "alpha"});
    EXPECT_TRUE(released.at("released"));
    EXPECT_EQ(released.at("exit"), 3);
}

TEST_F(InspectorTools, TheListDecidesWhateverTheDeletionAnswered)
{
    setUpSite();
    makeImage("alpha", "cg1", "1", "backup");
    const std::vector<std::string> words{"release", "cg1", "KSV_Time_Image_1", "--appliance", "alpha"};

    replaceTool("lmsh", "case \"$script\" in *delete*) echo done; exit 0;; esac\n" + realTool("lmsh"));
    CJson told = document(words, 8);
    EXPECT_FALSE(told.at("released"));
    EXPECT_EQ(told.at("exit"), 0);
    EXPECT_EQ(told.at("reason"), "time image KSV_Time_Image_1 of group cg1 is still there");

    replaceTool("lmsh", "case \"$script\" in *delete*) " + realTool("lmsh") +
                            " >/dev/null; echo 'db that does not exist'; exit 5;; esac\n" + realTool("lmsh"));
    told = document(words);
    EXPECT_TRUE(told.at("released"));
    EXPECT_EQ(told.at("exit"), 5);
}

TEST_F(InspectorTools, ADeletionThatIsNeverAnsweredIsDecidedByTheListToo)
{
    setUpSite();
    makeImage("alpha", "cg1", "1", "backup");
    ASSERT_EQ(site.lmadm({"fault", "arm", "hang-after", "--match", "delete timeimage"}).status, 0);
    const CJson told = document({"release", "cg1", "KSV_Time_Image_1", "--appliance", "alpha", "--timeout", "1"});
    EXPECT_TRUE(told.at("released"));
    EXPECT_EQ(told.at("exit"), nullptr);
    EXPECT_EQ(site.copiesOf("alpha", "cg1").size(), 1u);
}

TEST_F(InspectorTools, WithoutAListNobodyKnowsWhetherAnImageIsGone)
{
    setUpSite();
    makeImage("alpha", "cg1", "1", "backup");
    const std::vector<std::string> words{"release", "cg1", "KSV_Time_Image_1", "--appliance", "alpha"};
    for (const std::string answer : {"echo 'Welcome to the storage shell'", "exit 0", "echo broken; exit 1"}) {
        replaceTool("lmsh", "case \"$script\" in *list*) " + answer + "; exit;; esac\n" + realTool("lmsh"));
        const CJson told = document(words, 8);
        EXPECT_FALSE(told.at("released")) << answer;
        EXPECT_TRUE(told.at("reason").get<std::string>().starts_with("whether it is gone is not known: ")) << answer;
    }
}

TEST_F(InspectorTools, ReleaseRefusesWhatCannotBeATimeImage)
{
    setUpSite();
    logCommands();
    using CWords = std::vector<std::string>;
    const std::vector<CWords> refused{
        {"release", "cg1", "", "--appliance", "alpha"},      {"release", "cg1", "a b", "--appliance", "alpha"},
        {"release", "cg1", "a\tb", "--appliance", "alpha"},  {"release", "cg1", "a\"b", "--appliance", "alpha"},
        {"release", "c\"g", "a", "--appliance", "alpha"},    {"release", "cg1\nx", "a", "--appliance", "alpha"},
        {"release", "cg1", "a\x7f", "--appliance", "alpha"}, {"release", "cg1", "a", "--appliance", "gamma"},
        {"release", "cg1", "a", "--appliance", "alp\"ha"},
    };
    for (const CWords& words : refused) {
        const SRun done = run(words);
        EXPECT_TRUE(done.status == 8 || (done.status == 2 && words[2].empty())) << done.out << done.err;
        if (done.status == 2) continue;
        EXPECT_FALSE(done.json().at("released"));
        EXPECT_TRUE(done.json().at("reason").is_string());
        EXPECT_EQ(done.json().at("exit"), nullptr);
    }
    EXPECT_EQ(sent(), CWords());
}

TEST_F(InspectorTools, AGreetingIsNoListing)
{
    setUpSite();
    replaceTool("lmsh", "printf 'Welcome to the storage shell\\nType help\\n\\n4\\n5\\n6\\n'");
    replaceTool("kforutil", "echo 'Welcome to the disk utility'");
    const CJson told = document({});
    EXPECT_EQ(told.at("appliances"), CJson::parse(R"([{"name": "alpha", "reachable": false,
        "reason": "the answer to \"list hosts\" is no listing: [Welcome to the storage shell]",
        "not_listings": [{"command": "list hosts", "lines": ["Welcome to the storage shell", "Type help", "", "4", "5"]},
                         {"command": "list cgroups", "lines": ["Welcome to the storage shell", "Type help", "", "4", "5"]}],
        "host_here": null, "hosts_read": false, "hosts": [], "groups_read": false, "groups": []}])"));
    EXPECT_EQ(told.at("disks"), CJson::parse(R"({"read": false, "devices": [],
        "reason": "the answer to \"kforutil listdisk\" is no listing"})"));
    EXPECT_TRUE(named(told.at("tools"), "lmsh").at("answers"));
}

TEST_F(InspectorTools, AGreetingBeforeAGoodListingIsSaidToBeOne)
{
    setUpSite();
    replaceTool("lmsh", "echo 'Last login: today'\n" + realTool("lmsh"));
    const CJson appliance = document({}).at("appliances").at(0);
    EXPECT_FALSE(appliance.at("reachable"));
    EXPECT_EQ(appliance.at("hosts"), CJson::array());
    EXPECT_EQ(appliance.at("groups"), CJson::array());
    EXPECT_EQ(appliance.at("not_listings").at(1), CJson::parse(R"({"command": "list cgroups",
                               "lines": ["Last login: today", "cg1 luns=1 annotations=0 timeimages=0"]})"));
}

TEST_F(InspectorTools, AListOfTimeImagesThatLacksOneIsNotBelieved)
{
    setUpSite();
    makeImage("alpha", "cg1", "1", "backup");
    makeImage("alpha", "cg1", "2", "backup");
    replaceTool("lmsh", "case \"$script\" in *timeimages*) " + realTool("lmsh") + " | head -1; exit;; esac\n" +
                            realTool("lmsh"));
    const CJson group = document({}).at("appliances").at(0).at("groups").at(0);
    EXPECT_TRUE(group.at("read"));
    EXPECT_FALSE(group.at("images_read"));
    EXPECT_EQ(group.at("reason"), "the answer to \"list timeimages \"cg1\"\" lacks KSV_Time_Image_2");
}

TEST_F(InspectorTools, AnnotationsThatTheEndOfTheListingIsMissingAfterAreNotKnown)
{
    setUpSite();
    makeImage("alpha", "cg1", "1", "backup");
    replaceTool("lmsh", "case \"$script\" in *show*cgroup*) " + realTool("lmsh") +
                            " | sed '/^Time images/,$d'; exit;; esac\n" + realTool("lmsh"));
    const CJson group = document({}).at("appliances").at(0).at("groups").at(0);
    EXPECT_TRUE(group.at("read"));
    EXPECT_EQ(group.at("annotations"), nullptr);
    EXPECT_EQ(group.at("permissions"), CJson::array());
    EXPECT_EQ(group.at("images").size(), 1u);
}

TEST_F(InspectorTools, AnAnswerWhoseLastLineDoesNotEndIsNoListing)
{
    setUpSite();
    for (const std::string tool : {"lmsh", "kforutil"}) {
        replaceTool(tool, "answer=$(" + realTool(tool) + ")\nprintf %s \"$answer\"");
    }
    const CJson told = document({});
    const CJson& appliance = told.at("appliances").at(0);
    EXPECT_FALSE(appliance.at("hosts_read"));
    EXPECT_FALSE(appliance.at("groups_read"));
    EXPECT_EQ(appliance.at("reason"), "the answer to \"list hosts\" is no listing: its last line does not end");
    EXPECT_EQ(told.at("disks"), CJson::parse(R"({"read": false, "devices": [],
        "reason": "the answer to \"kforutil listdisk\" is no listing: its last line does not end"})"));
}

TEST_F(InspectorTools, WhatHangsCostsItsOwnSectionAndOneTimeLimit)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.addGroup("beta", "cg1", {"b1"});
    site.addGroup("gamma", "cg1", {"c1"});
    site.setUpHosts();
    replaceTool("lmsh",
                "case \"$script\" in *'server alpha'*) exec sleep 60;; "
                "*'server beta'*cgroups*) exec sleep 60;; esac\n" +
                    realTool("lmsh"));
    replaceTool("kforutil", "exec sleep 60");
    const auto start = std::chrono::steady_clock::now();
    const CJson told = document({"--timeout", "1"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));  // not one minute, on a busy machine
    const CJson& found = told.at("appliances");
    EXPECT_EQ(found.at(0), CJson::parse(R"({"name": "alpha", "reachable": false,
        "reason": "no answer within 1 s to \"list hosts\"", "not_listings": [], "host_here": null,
        "hosts_read": false, "hosts": [], "groups_read": false, "groups": []})"));
    EXPECT_FALSE(found.at(1).at("reachable"));
    EXPECT_EQ(found.at(1).at("reason"), "no answer within 1 s to \"list cgroups\"");
    EXPECT_TRUE(found.at(1).at("hosts_read"));
    EXPECT_TRUE(found.at(2).at("reachable"));
    EXPECT_EQ(found.at(2).at("groups").size(), 1u);
    EXPECT_EQ(told.at("disks").at("reason"), "no answer within 1 s");
    EXPECT_TRUE(named(told.at("tools"), "lmsh").at("answers"));
    EXPECT_FALSE(named(told.at("tools"), "kforutil").at("answers"));
    EXPECT_EQ(named(told.at("tools"), "kforutil").at("reason"), "no answer within 1 s");
}

TEST_F(InspectorTools, WhatIsNotAskedAnyMoreSaysSo)
{
    site.addGroup("alpha", "cg1", {"a1"});
    site.addGroup("alpha", "cg2", {"a2"});
    site.setUpHosts();
    replaceTool("lmsh", "case \"$script\" in *'show  cgroup'*) kill -9 $$;; *'timeimages'*) exec sleep 60;; esac\n" +
                            realTool("lmsh"));
    allowAtOnce(1);
    const CJson found = document({"--timeout", "1"}).at("appliances").at(0);
    EXPECT_FALSE(found.at("reachable"));
    EXPECT_TRUE(found.at("groups_read"));
    EXPECT_EQ(found.at("groups").at(0).at("reason"), "lmsh was killed by signal 9");
    EXPECT_FALSE(found.at("groups").at(1).at("read"));
    EXPECT_EQ(found.at("groups").at(1).at("reason"), "not asked: no answer within 1 s to \"list timeimages \"cg1\"\"");
}

TEST_F(InspectorTools, TheGroupsOfAnApplianceAreAskedSideBySide)
{
    for (const char* group : {"cg1", "cg2", "cg3"}) {
        site.addGroup("alpha", group, {group});
    }
    site.setUpHosts();
    // Each of them answers once all three are asked.
    const std::string marks = (site.folder() / "mark").string();
    replaceTool("lmsh", "case \"$script\" in *'show  cgroup'*) : >" + marks + ".$$; until test -e \"$(ls " + marks +
                            ".* | sed -n 3p)\"; do sleep 0.01; done;; esac\n" + realTool("lmsh"));
    allowAtOnce(3);
    const CJson told = document({"--timeout", "60", "--raw"});
    EXPECT_EQ(told.at("parallel"), 3);
    const CJson& found = told.at("appliances").at(0);
    EXPECT_TRUE(found.at("reachable")) << found;
    std::vector<std::string> groups;
    for (const CJson& group : found.at("groups")) {
        groups.push_back(group.at("name"));
        EXPECT_TRUE(group.at("read"));
    }
    EXPECT_EQ(groups, (std::vector<std::string>{"cg1", "cg2", "cg3"}));
    std::vector<std::string> shown;
    for (const CJson& run : told.at("raw")) {
        const std::string command = run.at("command");
        if (command.starts_with("show cgroup")) shown.push_back(command);
    }
    EXPECT_EQ(shown, (std::vector<std::string>{"show cgroup \"cg1\"", "show cgroup \"cg2\"", "show cgroup \"cg3\""}));
}

TEST_F(InspectorTools, NoMoreCommandsRunAtOnceThanMay)
{
    for (const char* group : {"cg1", "cg2", "cg3"}) {
        site.addGroup("alpha", group, {group});
        site.addGroup("beta", group, {group});
    }
    site.setUpHosts();
    const std::string log = (site.folder() / "depth").string();
    const std::string begin = "echo + >>" + log + "\n";
    const std::string end = "\necho - >>" + log;
    for (const int most : {1, 2}) {
        ::writeFile(log, "");
        replaceTool("lmsh", begin + realTool("lmsh") + end);
        replaceTool("kforutil", begin + realTool("kforutil") + end);
        allowAtOnce(most);
        EXPECT_TRUE(document({}).at("appliances").at(1).at("reachable"));
        int depth = 0;
        int deepest = 0;
        std::istringstream lines(contentOf(log));
        for (std::string line; std::getline(lines, line);) {
            depth += line == "+" ? 1 : -1;
            deepest = std::max(deepest, depth);
        }
        EXPECT_GT(deepest, 0);
        EXPECT_LE(deepest, most);
        EXPECT_EQ(depth, 0);
    }
}

TEST_F(InspectorTools, AnAbsurdNumberAtOnceIsBroughtIntoItsRange)
{
    setUpSite();
    const std::vector<std::pair<std::string, int>> numbers = {{"0", 1},  {"1", 1}, {"64", 64}, {"65", 64},
                                                              {"-3", 8}, {"x", 8}, {"", 8}};
    for (const auto& [written, taken] : numbers) {
        writeFile("/etc/qz/cdpfi.conf", "[LMR_CLI_CONFIG]\nMAX_PARALLEL=" + written + "\n");
        EXPECT_EQ(document({}).at("parallel"), taken) << written;
    }
}

TEST_F(InspectorTools, AToolThatIsMissingOrNoProgramIsNamed)
{
    setUpSite();
    std::filesystem::remove(place("/opt/QXPKlm/bin/lmsh"));
    writeFile("/bin/plain", "no program");
    writeFile("/etc/qz/cdpfi.conf", "[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=" + place("/nowhere/") +
                                        "\nLMR_KFORUTIL_PATH=" + place("/bin/") + "\nLMR_KFORUTIL_NAME=plain\n");
    const CJson told = document({});
    EXPECT_EQ(told.at("tools"), CJson::parse(R"([
        {"name": "lmsh", "path": ")" + place("/nowhere/lmsh") +
                                             R"(", "exists": false, "executable": false,
         "answers": false, "seconds": null, "reason": "No such file or directory"},
        {"name": "lmsh-fixed", "path": ")" + place("/opt/QXPKlm/bin/lmsh") +
                                             R"(", "exists": false,
         "executable": false, "answers": null, "seconds": null, "reason": "No such file or directory"},
        {"name": "kforutil", "path": ")" + place("/bin/plain") +
                                             R"(", "exists": true, "executable": false,
         "answers": false, "seconds": null, "reason": "Permission denied"}])"));
    EXPECT_EQ(told.at("appliances").at(0).at("reason"), "lmsh could not be started: No such file or directory");
    EXPECT_EQ(told.at("disks").at("reason"), "plain could not be started: Permission denied");
}

TEST_F(InspectorTools, AScriptThatCannotBeWrittenIsTold)
{
    setUpSite();
    const SRun done = site.shell("production", "TMPDIR=/nowhere " + std::string(CDPFI_INSPECTOR));
    EXPECT_EQ(done.status, 0) << done.err;
    const CJson appliance = done.json().at("appliances").at(0);
    EXPECT_FALSE(appliance.at("reachable"));
    EXPECT_TRUE(std::regex_match(appliance.at("reason").get<std::string>(),
                                 std::regex("/nowhere/[^ ]*: No such file or directory")))
        << appliance.at("reason");
    EXPECT_TRUE(done.json().at("disks").at("read"));
}
