// fictl doctor as a whole: a line for whatever can be wrong with a site, and none too many for one that is sound.
#include <algorithm>
#include <cstdlib>

#include "host/tests/doctor_fixture.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

TEST_F(CDoctorTest, ASoundSiteIsAllOk)
{
    setInspection();
    const SRun run = fictl({"doctor"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::string temporary = std::getenv("TMPDIR") == nullptr ? "/tmp" : std::getenv("TMPDIR");
    EXPECT_EQ(run.out, "OK   inspector " + inspector() +
                           " answers\n"
                           "OK   " +
                           m_list +
                           ": is read\n"
                           "OK   " +
                           m_store +
                           ": is read\n"
                           "OK   tool lmsh: " +
                           m_tool +
                           " answers, in 0.02 s\n"
                           "OK   tool lmsh-fixed: " +
                           m_root +
                           "/fixed/lmsh is there\n"
                           "OK   this host is \"production\"\n"
                           "OK   appliance \"ap1\" answers: 1 consistency group\n"
                           "OK   appliance \"ap1\" knows this host as \"production\", by its name\n"
                           "OK   1 disk of this host can be told\n"
                           "OK   folder of the trace file " +
                           m_root +
                           "/var/log/qz can be written to\n"
                           "OK   temporary folder " +
                           temporary +
                           " can be written to\n"
                           "OK   folder of the catalog " +
                           m_root +
                           "/var/lib/qz can be made\n"
                           "OK   there is no catalog yet; the first snapshot begins it\n"
                           "OK   provider \"fakefi\" (" +
                           provider() + ") loads with all its entry points and starts\n");
    EXPECT_FALSE(fs::exists(m_root + "/var/lib")) << "the doctor makes no catalog";
    EXPECT_EQ(inspectorCalls(), "--timeout=20\n");
}

TEST_F(CDoctorTest, TheDocumentHasEveryCheck)
{
    m_seen["configuration"]["commented_appliances"] = {
        {{"file", m_list}, {"line", 7}, {"text", "#RSURL=old"}, {"appliance", "old"}}};
    setInspection();
    const SRun run = fictlJson({"doctor"});
    EXPECT_EQ(run.exit, 0);
    const json document = run.document();
    EXPECT_EQ(document.at("schema_version"), 1);
    EXPECT_EQ(document.at("doctor").at("ok"), true);
    const json& checks = document.at("doctor").at("checks");
    EXPECT_EQ(checks.size(), 15U);
    const json expected = {{"level", "WARN"},
                           {"name", "configuration"},
                           {"text", "looks like a comment and still names the appliance \"old\""},
                           {"file", m_list},
                           {"line", 7},
                           {"next", "take the line away, if that appliance is not meant"}};
    EXPECT_NE(std::find(checks.begin(), checks.end(), expected), checks.end()) << checks;
}

TEST_F(CDoctorTest, AnInspectorThatFailsIsToldAndTheRestIsLookedAt)
{
    setInspectorScript("echo no memory >&2; exit 1");
    const std::vector<std::string> lines = complaintsOf(fictl({"doctor"}));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL " + inspector())) << lines[0];
    EXPECT_NE(lines[0].find("no memory; next: run it by hand: " + inspector()), std::string::npos) << lines[0];
}

TEST_F(CDoctorTest, ADocumentThatLacksSomethingIsTold)
{
    m_seen.erase("tools");
    setInspection();
    const std::vector<std::string> lines = complaintsOf(fictl({"doctor"}));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL " + inspector() + ": its document cannot be read: ")) << lines[0];
}

TEST_F(CDoctorTest, WithoutAnInspectorItSaysWhatItCannotLookAt)
{
    const std::vector<std::string> lines = complaintsOf(fictl({"doctor"}));
    EXPECT_EQ(lines,
              std::vector<std::string>{
                  "WARN provider \"fakefi\" ships no inspector: configuration, tools and appliances cannot be looked "
                  "at without starting it; next: install the inspector beside the provider, if there is one"});
}

TEST_F(CDoctorTest, AProviderThatDoesNotStartIsTold)
{
    arm("init fail the configuration is empty");
    expectComplaint(
        "FAIL provider \"fakefi\" (" + provider() +
        ") loads with all its entry points, but does not start: the configuration is empty; next: mend what "
        "else is told here");
}

TEST_F(CDoctorTest, AProviderThatLacksAnEntryPointIsTold)
{
    fs::remove(provider());
    fs::create_symlink(FICTL_HALF_PROVIDER, provider());
    expectComplaint(
        "FAIL provider \"fakefi\" (" + provider() +
        ") has no entry point fakefi_fi_pgn_objctl; next: install the provider again, or name the right one "
        "with --provider");
}

TEST_F(CDoctorTest, AProviderThatEndsTheProcessIsTold)
{
    arm("init killed");
    expectComplaint(
        "FAIL provider \"fakefi\" cannot be loaded: fictl provider show was killed by signal 9; next: install "
        "the provider again, or name the right one with --provider");
}

}  // namespace
