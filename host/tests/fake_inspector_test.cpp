// The test provider's inspector tells what is in the store, and its faults.
#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace {

using nlohmann::json;

TEST_F(CFictlTest, TheInspectorTellsWhatIsThere)
{
    base_test::writeFile(fake("objects/ap1.g1.KSV_Check_Point_7"), "time 2026-01-31T12:00:00Z\nmessage hello\n");
    touch("objects/ap1.g1.KSV_Check_Point_8");
    putImage("ap1", "g1", "7", "backup");
    const json document = inspection();
    EXPECT_EQ(document["format"], "obzx-inspection");
    EXPECT_EQ(document["schema_version"], 1);
    EXPECT_EQ(document["host"]["name"], "here");
    EXPECT_EQ(document["disks"]["devices"].size(), 4U);
    EXPECT_EQ(document["tools"][0]["path"], FICTL_FAKE_TOOL);
    EXPECT_EQ(document["ambiguous"], json::array());
    ASSERT_EQ(document["appliances"].size(), 2U);
    const json appliance = document["appliances"][0];
    EXPECT_EQ(appliance["reachable"], true);
    EXPECT_EQ(appliance["host_here"], json({{"name", "here"}, {"by", "name"}}));
    ASSERT_EQ(appliance["groups"].size(), 2U);
    EXPECT_EQ(appliance["groups"][0], json::parse(R"({
        "name": "g1", "read": true, "reason": null,
        "luns": [{"device": "/dev/appliance/S1", "serial": "S1", "path": "/dev/fake1"},
                 {"device": "/dev/appliance/S2", "serial": "S2", "path": "/dev/fake2"}],
        "permissions": [],
        "annotations": [{"name": "KSV_Check_Point_7", "time": "2026-01-31T12:00:00Z", "message": "hello"},
                        {"name": "KSV_Check_Point_8", "time": null, "message": null}],
        "images_read": true,
        "images": [{"name": "KSV_Time_Image_7", "read": true, "reason": null, "annotation": "KSV_Check_Point_7",
                    "created": "2026-01-31T12:00:00Z", "permissions": ["backup"],
                    "luns": [{"source": "S1", "target": "TS1", "path": null},
                             {"source": "S2", "target": "TS2", "path": null}]}]})"));
}

TEST_F(CFictlTest, TheInspectorShowsWhereACopyIs)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    const json image = inspection()["appliances"][0]["groups"][0]["images"][0];
    EXPECT_EQ(image["permissions"], json({"here"}));
    EXPECT_EQ(image["luns"][0]["path"], fake("copies/S1"));
    EXPECT_TRUE(image["luns"][1]["path"].is_null());
}

TEST_F(CFictlTest, TheInspectorIsAskedForAPart)
{
    const json document = inspection({"--appliance", "ap1", "--group", "g2", "--group", "nosuch"});
    ASSERT_EQ(document["appliances"].size(), 1U);
    ASSERT_EQ(document["appliances"][0]["groups"].size(), 1U);
    EXPECT_EQ(document["appliances"][0]["groups"][0]["name"], "g2");
    EXPECT_EQ(document["appliances"][0]["groups_read"], true);
    EXPECT_EQ(inspection({"--appliance", "nosuch"})["appliances"], json::array());
    for (const std::vector<std::string>& wrong : std::vector<std::vector<std::string>>{
             {"--nosuch", "x"}, {"--group"}, {"release", "g1", "x"}, {"release", "g1"}, {"word"}}) {
        EXPECT_EQ(runProgram(FICTL_FAKE_INSPECTOR, wrong).exit, 2);
    }
}

TEST_F(CFictlTest, TheInspectorListsAmbiguousSerials)
{
    base_test::writeFile(fake("devices"),
                         "/dev/fake1 S1 ap1 g1\n/dev/alias1 S1 ap1 g1\n/dev/fake2 S2 ap1 g1\n/dev/other2 S2 ap2 g3\n"
                         "/dev/fake3 g1 ap1 g2\n");
    EXPECT_EQ(inspection()["ambiguous"], json::parse(R"([
        {"serial": "S2", "reason": "the serial stands in two places",
         "places": [{"appliance": "ap1", "group": "g1"}, {"appliance": "ap2", "group": "g3"}]},
        {"serial": "g1", "reason": "the serial is also the name of a group",
         "places": [{"appliance": "ap1", "group": "g2"}]}])"));
}

TEST_F(CFictlTest, TheInspectorTellsOfAnApplianceThatDoesNotAnswer)
{
    arm("appliance:ap1 fail=7 no route\ninspect:ap2 banner Welcome\n");
    const json appliances = inspection()["appliances"];
    EXPECT_EQ(appliances[0]["reachable"], false);
    EXPECT_EQ(appliances[0]["reason"], "fakefi_tool exited with status 7: no route");
    EXPECT_EQ(appliances[0]["groups_read"], false);
    EXPECT_EQ(appliances[1]["reason"], "the answer to \"list cgroups\" is no listing");
    EXPECT_EQ(appliances[1]["not_listings"], json::parse(R"([{"command": "list cgroups", "lines": ["Welcome"]}])"));
    arm("inspect:ap1 hangs\n");
    EXPECT_EQ(inspection({"--timeout", "1"})["appliances"][0]["reason"], "no answer within 1 s");
}

TEST_F(CFictlTest, TheInspectorTellsWhatItCouldNotRead)
{
    touch("objects/ap1.g2.KSV_Time_Image_7");
    arm("inspect-group:g1 fail no answer\ninspect-image:KSV_Time_Image_7 fail gone\ninspect-images:g3 fail busy\n");
    const json appliances = inspection()["appliances"];
    const json groups = appliances[0]["groups"];
    EXPECT_EQ(groups[0]["read"], false);
    EXPECT_EQ(groups[0]["reason"], "no answer");
    EXPECT_TRUE(groups[0]["annotations"].is_null());
    EXPECT_EQ(groups[1]["images"][0]["read"], false);
    EXPECT_TRUE(groups[1]["images"][0]["permissions"].is_null());
    EXPECT_EQ(appliances[1]["groups"][0]["images_read"], false);
    EXPECT_EQ(appliances[1]["groups"][0]["read"], true);
}

TEST_F(CFictlTest, TheInspectorCanFailAsAWhole)
{
    arm("inspect fail=1 out of memory\n");
    const SRun failed = runProgram(FICTL_FAKE_INSPECTOR, {});
    EXPECT_EQ(failed.exit, 1);
    EXPECT_EQ(failed.out, "");
    EXPECT_EQ(failed.err, "out of memory\n");
    arm("inspect garbage {\"format\":\n");
    EXPECT_EQ(runProgram(FICTL_FAKE_INSPECTOR, {}).out, "{\"format\":\n");
    arm("inspect banner Welcome\n");
    EXPECT_TRUE(runProgram(FICTL_FAKE_INSPECTOR, {}).out.starts_with("Welcome\n{"));
}

TEST_F(CFictlTest, TheInspectorReleasesAnImageAndNothingElse)
{
    touch("objects/ap1.g1.KSV_Check_Point_7");
    putImage("ap1", "g1", "7", "here");
    const std::vector<std::string> release = {"release", "g1", "KSV_Time_Image_7", "--appliance", "ap1"};
    arm("delete-timeimage:g1 fail=5 busy\n");
    const SRun refused = runProgram(FICTL_FAKE_INSPECTOR, release);
    EXPECT_EQ(refused.exit, 8);
    EXPECT_EQ(refused.document()["released"], false);
    EXPECT_EQ(refused.document()["exit"], 5);
    EXPECT_EQ(refused.document()["output"], "busy\n");
    arm("delete-timeimage:g1 lost=1 connection lost\n");
    const SRun lost = runProgram(FICTL_FAKE_INSPECTOR, release);
    EXPECT_EQ(lost.exit, 0);
    EXPECT_EQ(lost.document()["released"], true);
    arm("");
    EXPECT_EQ(runProgram(FICTL_FAKE_INSPECTOR, release).document()["released"], true);
    EXPECT_EQ(objects(), std::vector<std::string>{"ap1.g1.KSV_Check_Point_7"});
}

TEST_F(CFictlTest, AProviderWithoutAnInspectorIsACopyOfItsLibraryAlone)
{
    const std::string folder = std::filesystem::path(FICTL_FAKE_PROVIDER).parent_path();
    EXPECT_TRUE(std::filesystem::exists(folder + "/fakefi-inspect"));
    leaveInspectorAway();
    EXPECT_NE(provider(), FICTL_FAKE_PROVIDER);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(provider()).parent_path() / "fakefi-inspect"));
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
}

}  // namespace
