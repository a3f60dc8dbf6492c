// The pieces of the inspector: which host is this one, which serial is ambiguous, where a LUN shows.
#include <gtest/gtest.h>

#include <map>

#include "pdk/include/cfipluginname.h"
#include "providers/cdp/cdp_appliance_lines.h"
#include "providers/cdp/inspect/ambiguous_serials.h"
#include "providers/cdp/inspect/disk_section.h"
#include "providers/cdp/inspect/host_section.h"
#include "providers/cdp/inspect/tool_runner.h"

const ACE_String_Base<char> cfi_pgn_name_tstr("cdpfi");
const std::wstring cfi_pgn_name_wstr(L"cdpfi");
const std::string cfi_pgn_name_str("cdpfi");

namespace cdpfi::inspect {
namespace {

using obzx_cmn_4_4::SHostInfo;

std::string hostHere(const std::vector<std::string>& names, const SHostInfo& local,
                     const std::map<std::string, SHostInfo>& known)
{
    std::vector<SHost> hosts;
    for (const std::string& name : names) {
        hosts.push_back({name, {}});
    }
    const auto found = findHostHere(hosts, local, "prod", [&](const std::string& name) {
        const auto entry = known.find(name);
        return entry == known.end() ? SHostInfo{name, {name}, {}, {}} : entry->second;
    });
    return found ? found->name + (found->byName ? " by name" : " by address") : "none";
}

SHostInfo host(const std::string& name, const std::set<std::string>& names, const std::set<std::string>& addresses)
{
    return {name, names, {}, addresses};
}

TEST(InspectorHost, TheExactNameComesBeforeEverythingElse)
{
    const SHostInfo local = host("prod", {"prod", "prod.example"}, {"10.0.0.1"});
    const std::map<std::string, SHostInfo> known{{"backup", host("backup", {"backup"}, {"10.0.0.1"})},
                                                 {"prod.example", host("prod.example", {}, {})}};
    EXPECT_EQ(hostHere({"prod", "prod.example", "backup"}, local, known), "prod by name");
    EXPECT_EQ(hostHere({"backup", "PROD"}, local, known), "PROD by name");
    EXPECT_EQ(hostHere({"prod.example", "backup"}, local, known), "prod.example by name");
    EXPECT_EQ(hostHere({"other", "backup"}, local, known), "backup by address");
    EXPECT_EQ(hostHere({"other"}, local, known), "none");
    EXPECT_EQ(hostHere({}, local, known), "none");
}

TEST(InspectorHost, ASharedLoopbackAddressMakesNoHostThisOne)
{
    const SHostInfo local = host("prod", {"prod"}, {"127.0.1.1"});
    EXPECT_EQ(hostHere({"backup"}, local, {{"backup", host("backup", {"backup"}, {"127.0.1.1"})}}), "none");
}

TEST(InspectorHost, AResolverThatKnowsNothingIsAskedNothing)
{
    const SHostInfo local = host("prod", {"prod", "www"}, {"127.0.1.1"});
    const std::vector<SHost> hosts{{"backup", {}}, {"www", {}}};
    const auto refuse = [](const std::string& name) -> SHostInfo { throw std::logic_error("asked for " + name); };
    EXPECT_EQ(findHostHere(hosts, local, "prod", refuse)->name, "www");
    EXPECT_FALSE(findHostHere({{"backup", {}}}, local, "prod", refuse));
}

TEST(InspectorHost, WhatTheResolverKnowsIsTold)
{
    const SHostName known = describeHost(host("prod.example", {"prod", "www"}, {"10.0.0.1"}), "prod");
    EXPECT_EQ(known.name, "prod");
    EXPECT_EQ(known.furtherNames, (std::vector<std::string>{"prod.example", "www"}));
    EXPECT_FALSE(known.problem);
    EXPECT_EQ(describeHost(host("prod", {"prod"}, {}), "prod").problem, "the resolver knows no address of prod");
    EXPECT_FALSE(describeHost(host("", {""}, {}), "").name);
}

SAppliance appliance(const std::string& name, const std::map<std::string, std::vector<std::string>>& groups)
{
    SAppliance made;
    made.name = name;
    for (const auto& [group, serials] : groups) {
        made.groupNames.push_back(group);
        made.groups.emplace_back().name = group;
        for (const std::string& serial : serials) {
            made.groups.back().luns.push_back({"/dev/x", serial, {}});
        }
    }
    return made;
}

std::string ambiguous(const std::vector<SAppliance>& appliances, const std::vector<std::string>& disks = {})
{
    SDisks listed;
    for (const std::string& serial : disks) {
        listed.devices.push_back({"/dev/x", serial});
    }
    std::string text;
    for (const SAmbiguousSerial& entry : findAmbiguous(appliances, listed)) {
        text += entry.serial + ": " + entry.reason + " [";
        for (const SPlace& place : entry.places) {
            text += place.appliance + "/" + place.group + " ";
        }
        text.back() = ']';
        text += "\n";
    }
    return text;
}

TEST(InspectorAmbiguity, ASerialThatLeadsToOneGroupIsNotAmbiguous)
{
    EXPECT_EQ(ambiguous({}), "");
    EXPECT_EQ(ambiguous({appliance("a", {{"g", {"S1", "S2"}}, {"h", {"S3"}}})}, {"S1", "S9", ""}), "");
    EXPECT_EQ(ambiguous({appliance("a", {{"S1", {"S1"}}})}, {"S1"}), "") << "a group that is called like its own LUN";
    EXPECT_EQ(ambiguous({appliance("a", {{"g", {"S1", "S1"}}})}), "");
    EXPECT_EQ(ambiguous({appliance("a", {{"g", {""}}, {"h", {""}}})}, {""}), "") << "an empty serial is no LUN's";
}

TEST(InspectorAmbiguity, ASerialThatLeadsToSeveralGroupsIsAmbiguous)
{
    EXPECT_EQ(ambiguous({appliance("a", {{"g", {"S1"}}, {"S1", {}}})}),
              "S1: it is also the name of group S1 of appliance a [a/S1 a/g]\n");
    EXPECT_EQ(ambiguous({appliance("a", {{"g", {"S1"}}}), appliance("b", {{"S1", {}}})}),
              "S1: it is also the name of group S1 of appliance b [a/g b/S1]\n");
    EXPECT_EQ(ambiguous({appliance("a", {{"g", {"S1"}}, {"h", {"S1"}}})}),
              "S1: it is a LUN of group g of appliance a, group h of appliance a [a/g a/h]\n");
    EXPECT_EQ(ambiguous({appliance("a", {{"g", {"S1"}}}), appliance("b", {{"g", {"S1"}}})}),
              "S1: it is a LUN of group g of appliance a, group g of appliance b [a/g b/g]\n");
    EXPECT_EQ(ambiguous({appliance("a", {{"S1", {"S1"}}, {"h", {"S1"}}})}),
              "S1: it is also the name of group S1 of appliance a, and a LUN of group S1 of appliance a, group h of "
              "appliance a [a/S1 a/h]\n");
}

TEST(InspectorAmbiguity, ADiskInNoGroupThatIsCalledLikeOneIsAmbiguous)
{
    EXPECT_EQ(ambiguous({appliance("a", {{"S1", {"S2"}}})}, {"S1"}),
              "S1: it is also the name of group S1 of appliance a [a/S1]\n");
}

TEST(InspectorAmbiguity, GroupsThatWereNotShownCountByTheirNames)
{
    SAppliance some = appliance("a", {{"g", {"S1"}}});
    some.groupNames.push_back("S1");
    EXPECT_EQ(ambiguous({some}), "S1: it is also the name of group S1 of appliance a [a/S1 a/g]\n");
}

const std::string RULE(122, '=');

TEST(InspectorDisks, AListingNeedsItsHeading)
{
    const auto read = [](const std::vector<std::string>& lines) {
        const SDisks disks = readDisks(lines);
        std::string text = disks.problem ? *disks.problem + "|" : "";
        for (const SDevice& device : disks.devices) {
            text += device.path + "=" + device.serial + " ";
        }
        return text;
    };
    const std::string none = "the answer to \"kforutil listdisk\" is no listing";
    const std::string disk = "/dev/sdb (a) (b) (c) (S1) online rw";
    EXPECT_EQ(read({"Disks", RULE, disk, "/dev/sdc (a) (b) (c) () online rw", ""}), "/dev/sdb=S1 /dev/sdc= ");
    EXPECT_EQ(read({RULE}), "");
    EXPECT_EQ(read({"Host \"prod\" has no disks."}), "");
    EXPECT_EQ(read({}), none + "|");
    EXPECT_EQ(read({"Welcome"}), none + "|");
    EXPECT_EQ(read({"Host \"prod\" has no disks.", "x"}), none + "|");
    EXPECT_EQ(read({"", "====", disk}), none + "|");
    EXPECT_EQ(read({RULE, disk, "Have a nice day", disk}), none + ": [Have a nice day] is no disk|/dev/sdb=S1 ");
    EXPECT_EQ(read({RULE, "/dev/sdb (a) (b) (c) x online rw"}),
              none + ": [/dev/sdb (a) (b) (c) x online rw] is no disk|");
}

TEST(InspectorDisks, OfSeveralPathsTheFirstIsTheLuns)
{
    SDisks disks;
    disks.devices = {{"/dev/sdc", "S1"}, {"/dev/sdb", "S1"}, {"/dev/sda", ""}};
    const CDevicePaths paths(disks);
    EXPECT_EQ(paths.pathOf("S1"), "/dev/sdb");
    EXPECT_EQ(paths.pathOf("S2"), std::nullopt);
    EXPECT_EQ(paths.pathOf(""), std::nullopt);
}

TEST(InspectorCommands, ArePrintedWithSingleBlanksAndNamesAsTheyAre)
{
    EXPECT_EQ(readableCommand(" show  cgroup \"a  b\""), "show cgroup \"a  b\"");
    EXPECT_EQ(readableCommand(" list  hosts "), "list hosts");
    EXPECT_EQ(readableCommand(" update  timeimage \"T\" \"G\"\n add  permission \"H\"\n commit "),
              "update timeimage \"T\" \"G\" add permission \"H\" commit");
    EXPECT_EQ(shortLine("\t a\tb\x01 \n"), "a b");
    EXPECT_EQ(shortLine(std::string(1000, 'x')).size(), 300u);
}

TEST(ApplianceLines, NameAnApplianceWithAMarkAnywhereAndTwoTextsAroundOneSign)
{
    const auto read = [](const std::string& line) {
        const auto found = parseApplianceLine(line, "RSURL");
        return found ? found->name + "|" + found->port.value_or("-") : "none";
    };
    EXPECT_EQ(read("RSURL=alpha:9000"), "alpha|9000");
    EXPECT_EQ(read("# XRSURL==alpha"), "alpha|-");
    EXPECT_EQ(read("RSURL = alpha :1:2"), " alpha |1");
    EXPECT_EQ(read("name=RSURL"), "RSURL|-");
    EXPECT_EQ(read("RSURL=::"), "|-");
    for (const char* line : {"", "RSURL", "RSURL=", "=RSURL", "RSURL=a=b", "rsurl=a", "RS URL=a"}) {
        EXPECT_EQ(read(line), "none") << line;
    }
}

}  // namespace
}  // namespace cdpfi::inspect
