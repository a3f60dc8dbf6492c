// What fictl doctor says of configuration, tools, this host, appliances and disks, as an inspector tells them.
#include "host/tests/doctor_fixture.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

TEST_F(CDoctorTest, AnUnreadableFileIsNamed)
{
    m_seen["configuration"]["files"][1] = file(m_store, false);
    expectComplaint("FAIL " + m_store +
                    ": is not read: Permission denied; next: make it a regular file that this user can read");
}

TEST_F(CDoctorTest, AFileThatIsNotThereIsNoFault)
{
    fs::remove(m_store);
    m_seen["configuration"]["files"][1] = file(m_store, false);
    EXPECT_TRUE(complaints().empty());
}

TEST_F(CDoctorTest, ALineThatCannotBeUnderstoodIsShown)
{
    m_seen["configuration"]["unreadable_lines"] = {{{"file", m_store}, {"line", 4}, {"text", "LEVEL\x01 6"}}};
    expectComplaint(
        "WARN " + m_store +
        ":4: cannot be understood and is skipped: \"LEVEL\\x01 6\"; next: correct the line, or take it away");
}

TEST_F(CDoctorTest, ACommentedLineThatStillCountsIsShown)
{
    m_seen["configuration"]["commented_appliances"] = {
        {{"file", m_list}, {"line", 1}, {"text", "#RSURL=old"}, {"appliance", "old"}}};
    expectComplaint("WARN " + m_list +
                    ":1: looks like a comment and still names the appliance \"old\"; next: take the line away, if that "
                    "appliance is not meant");
}

TEST_F(CDoctorTest, ASiteWithoutAppliancesIsToldWhereTheyGo)
{
    m_seen["configuration"]["appliances"] = json::array();
    m_seen["appliances"] = json::array();
    expectComplaint("FAIL " + m_list +
                    ": no appliance is configured; next: name each one there, in a line RSURL=<appliance>:<port>");
}

TEST_F(CDoctorTest, AMissingToolIsToldWithTheLineThatNamesIt)
{
    m_seen["tools"][0]["exists"] = false;
    m_seen["tools"][0]["reason"] = "No such file or directory";
    expectComplaint("FAIL " + m_store + ":2: tool lmsh: " + m_tool +
                    ": No such file or directory; next: install it there, or set its folder and name in the provider's "
                    "configuration");
}

TEST_F(CDoctorTest, AToolThatCannotBeRunIsTold)
{
    m_seen["tools"][0]["executable"] = false;
    m_seen["tools"][0]["reason"] = "Permission denied";
    expectComplaint("FAIL " + m_store + ":2: tool lmsh: " + m_tool +
                    " cannot be run: Permission denied; next: chmod +x " + m_tool);
}

TEST_F(CDoctorTest, AToolThatDoesNotAnswerIsTold)
{
    m_seen["tools"][0]["answers"] = false;
    m_seen["tools"][0]["reason"] = "no answer within 20 s";
    expectComplaint("FAIL " + m_store + ":2: tool lmsh: " + m_tool +
                    " does not answer: no answer within 20 s; next: run it by hand, as this user");
}

TEST_F(CDoctorTest, ASlowToolIsAWarning)
{
    m_seen["tools"][0]["seconds"] = 45.678;
    expectComplaint("WARN tool lmsh: " + m_tool + " needs 45.68 s for an answer; next: find out what keeps it so long");
}

TEST_F(CDoctorTest, TheFixedPathOfTheShellIsInsistedOn)
{
    const std::string fixed = m_root + "/fixed/lmsh";
    m_seen["tools"][1]["exists"] = false;
    m_seen["tools"][1]["reason"] = "No such file or directory";
    expectComplaint("FAIL tool lmsh-fixed: " + fixed +
                    ": No such file or directory; the provider insists on this path, also beside a configured one; "
                    "next: mkdir -p " +
                    m_root + "/fixed && ln -s " + m_tool + " " + fixed);
}

TEST_F(CDoctorTest, AHostWithoutANameIsTold)
{
    m_seen["host"] = {{"name", nullptr}, {"further_names", json::array()}, {"reason", "the resolver does not answer"}};
    expectComplaint(
        "FAIL this host has no name: the resolver does not answer; next: set LOCAL_NAME in section FI_NETWORK of the "
        "provider's configuration");
}

TEST_F(CDoctorTest, AHostThatTheResolverDoesNotKnowIsAWarning)
{
    m_seen["host"]["reason"] = "the resolver knows no address of production";
    expectComplaint(
        "WARN this host is \"production\", but the resolver knows no address of production; next: make it known to the "
        "resolver, if appliances know this host by an address only");
}

TEST_F(CDoctorTest, AnApplianceThatDoesNotKnowThisHostIsTold)
{
    m_seen["appliances"][0]["host_here"] = nullptr;
    expectComplaint(
        "FAIL appliance \"ap1\" knows no host \"production\", nor one with an address of it; next: make this host "
        "known "
        "there by that name, or set LOCAL_NAME in section FI_NETWORK of the provider's configuration to the name that "
        "the appliance has for it");
}

TEST_F(CDoctorTest, AHostThatIsKnownByItsAddressIsFine)
{
    m_seen["appliances"][0]["host_here"]["by"] = "address";
    EXPECT_TRUE(complaints().empty());
    EXPECT_NE(fictl({"doctor"}).out.find("knows this host as \"production\", by an address that both have\n"),
              std::string::npos);
}

TEST_F(CDoctorTest, ADeadApplianceIsToldWithTheLineThatNamesIt)
{
    json& dead = m_seen["appliances"][0];
    dead["reachable"] = false;
    dead["groups_read"] = false;
    dead["hosts_read"] = false;
    dead["host_here"] = nullptr;
    dead["reason"] = "no answer within 20 s";
    expectComplaint(
        "FAIL " + m_list +
        ":3: appliance \"ap1\" does not answer: no answer within 20 s; next: see that its name and port are "
        "right there, that it is up, and that this host reaches it");
}

TEST_F(CDoctorTest, AnAnswerThatIsNoListingIsShown)
{
    json& odd = m_seen["appliances"][0];
    odd["groups_read"] = false;
    odd["reason"] = "the answer is no listing";
    odd["not_listings"] = {{{"command", "list cgroups"}, {"lines", {"Welcome to ap1", "Last login: today"}}}};
    expectComplaint(
        "FAIL " + m_list +
        ":3: appliance \"ap1\": the answer to \"list cgroups\" is no listing; it begins \"Welcome to ap1\"; "
        "next: see what stands between this host and the appliance, such as a login banner");
}

TEST_F(CDoctorTest, AGroupThatCannotBeReadIsAWarning)
{
    m_seen["appliances"][0]["groups"][0]["read"] = false;
    m_seen["appliances"][0]["groups"][0]["reason"] = "status 1";
    expectComplaint(
        "WARN appliance \"ap1\": group \"g1\" could not be read: status 1; next: run the doctor again; if it stays, "
        "look "
        "at the group on the appliance");
}

TEST_F(CDoctorTest, AnAmbiguousLunIsAWarning)
{
    m_seen["ambiguous"] = {{{"serial", "S1"}, {"reason", "a group has the name S1"}, {"places", json::array()}}};
    expectComplaint(
        "WARN LUN \"S1\": a group has the name S1; next: give the group another name: no snapshot of this LUN is "
        "taken");
}

TEST_F(CDoctorTest, ALunWhoseCopyCouldNotBeImportedIsAWarning)
{
    m_seen["unlistable"] = {{{"serial", "S-1"}, {"reason", "its serial \"S-1\" holds \"-\""}}};
    expectComplaint(
        "WARN LUN \"S-1\": its serial \"S-1\" holds \"-\"; next: give the LUN another name on the appliance: no "
        "snapshot of it is taken");
}

TEST_F(CDoctorTest, DisksThatCannotBeToldAreTold)
{
    m_seen["disks"] = {{"read", false}, {"reason", "kforutil exited with status 1"}, {"devices", json::array()}};
    expectComplaint(
        "FAIL the disks of this host cannot be told: kforutil exited with status 1; next: see what the disk utility "
        "says "
        "when it is run by hand, as this user");
}

}  // namespace
