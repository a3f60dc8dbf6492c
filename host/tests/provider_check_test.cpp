// fictl provider check: what it says of providers, and in which forms.
#include <algorithm>
#include <filesystem>

#include "base/tests/environment_value.h"
#include "host/src/provider_check/checks.h"
#include "host/tests/fictl_fixture.h"

namespace {

using base_test::linesOf;

class ProviderCheck : public CFictlTest
{
  protected:
    SRun check(const std::string& library, const std::vector<std::string>& words = {}) const
    {
        std::vector<std::string> all = {"provider", "check", library};
        all.insert(all.end(), words.begin(), words.end());
        return run(all);
    }
};

TEST_F(ProviderCheck, PassesAGoodProviderInEveryCheck)
{
    const SRun good = check(FICTL_GOOD_PROVIDER);
    EXPECT_EQ(good.exit, 0);
    EXPECT_EQ(good.err, "");
    std::vector<std::string> expected;
    for (const fictl::SProviderCheck& each : fictl::providerChecks()) {
        expected.push_back(std::string(each.name) + ": PASS");
    }
    expected.push_back(std::to_string(expected.size()) + " passed, 0 failed, 0 skipped");
    EXPECT_EQ(linesOf(good.out), expected);
}

TEST_F(ProviderCheck, SkipsWhatAPlainProviderGivesNoOccasionTo)
{
    const SRun plain = check(FICTL_PLAIN_PROVIDER);
    EXPECT_EQ(plain.exit, 0) << plain.out;
    std::vector<std::string> skipped;
    for (const std::string& line : linesOf(plain.out)) {
        if (line.find(": SKIP: ") != std::string::npos) skipped.push_back(line);
    }
    const std::vector<std::string> expected = {
        "state: SKIP: the provider keeps no state of the node",
        "sessions: SKIP: the provider makes no copy of nodes that it does not know",
        "messages: SKIP: the provider has put no message on its stack",
        "callback: SKIP: the provider has told no message",
    };
    EXPECT_EQ(skipped, expected);
}

TEST_F(ProviderCheck, TellsTheCallThatBrokeACheck)
{
    const base_test::CEnvironmentValue defect("KITFI_DEFECT", "null-node-accepted");
    const SRun found = check(FICTL_GOOD_PROVIDER, {"--only", "nulls"});
    EXPECT_EQ(found.exit, 8);
    EXPECT_EQ(found.out,
              "nulls: FAIL: refresh_tree(null): expected the status for a null node, came status 0\n"
              "0 passed, 1 failed, 0 skipped\n");
}

TEST_F(ProviderCheck, TellsTheCallInWhichASignalCame)
{
    const base_test::CEnvironmentValue defect("KITFI_DEFECT", "null-identity-crashes");
    const SRun found = check(FICTL_GOOD_PROVIDER, {"--only", "nulls"});
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(linesOf(found.out).at(0),
              "nulls: FAIL: online_resource(null): expected it returns, came the process was killed by signal 11");
#endif
    EXPECT_EQ(found.exit, 8);
}

TEST_F(ProviderCheck, EndsACheckThatTakesTooLong)
{
    const base_test::CEnvironmentValue defect("KITFI_DEFECT", "callback-hangs");
    const SRun found = check(FICTL_GOOD_PROVIDER, {"--only", "callback", "--limit", "2"});
    EXPECT_EQ(found.exit, 8);
    EXPECT_EQ(
        linesOf(found.out).at(0),
        "callback: FAIL: enumerate_nodes(nodes, \"fictl-check\"): expected it returns, came no end: it did not end "
        "within 2 s");
}

TEST_F(ProviderCheck, GoesOnAfterACheckThatCrashed)
{
    const base_test::CEnvironmentValue defect("KITFI_DEFECT", "all-null-crashes");
    const SRun found = check(FICTL_GOOD_PROVIDER);
    EXPECT_EQ(found.exit, 8);
    const std::vector<std::string> lines = linesOf(found.out);
    EXPECT_EQ(lines.size(), fictl::providerChecks().size() + 1);
    EXPECT_EQ(lines.at(lines.size() - 2), "loads: PASS");
}

TEST_F(ProviderCheck, FailsWhatIsNoProviderWithTheReason)
{
    base_test::writeFile(m_root + "/libtext.so", "not a library\n");
    for (const std::string& path : {m_root + "/libtext.so", m_root + "/libnone.so", m_root + "/other.txt"}) {
        const SRun found = check(path);
        EXPECT_EQ(found.exit, 8) << path;
        EXPECT_EQ(found.out.find("library: FAIL: "), 0U) << found.out;
        EXPECT_EQ(linesOf(found.out).size(), 2U) << "nothing else is checked: " << found.out;
    }
    const SRun half = check(FICTL_HALF_PROVIDER);
    EXPECT_EQ(linesOf(half.out).at(0),
              "library: FAIL: dlsym(fakefi_fi_pgn_objctl): expected a function of that name, came none");
}

TEST_F(ProviderCheck, FailsALibraryWithSomethingElseInThePlaceOfAFunction)
{
    const SRun odd = check(FICTL_ODD_PROVIDER, {"--only", "symbols"});
    EXPECT_EQ(odd.exit, 8);
    EXPECT_EQ(linesOf(odd.out).at(0),
              "symbols: FAIL: dlsym(fakefi_fi_pgn_objctl): expected a function of that name, came something else");
}

TEST_F(ProviderCheck, TellsTheSameAsADocument)
{
    const base_test::CEnvironmentValue defect("KITFI_DEFECT", "status-negative");
    const nlohmann::json document =
        run({"--output", "json", "provider", "check", FICTL_GOOD_PROVIDER, "--only", "statuses"}).document();
    const nlohmann::json& told = document.at("provider_check");
    EXPECT_EQ(told.at("path"), FICTL_GOOD_PROVIDER);
    EXPECT_EQ(told.at("ok"), false);
    const nlohmann::json& found = told.at("checks").at(0);
    EXPECT_EQ(found.at("name"), "statuses");
    EXPECT_EQ(found.at("outcome"), "FAIL");
    EXPECT_EQ(found.at("call"), "enumerate_enclosures(enclosures)");
    EXPECT_EQ(found.at("expected"), "status 0, 3, 5 or 6");
    EXPECT_EQ(found.at("came"), "status -1");
    EXPECT_EQ(found.at("holds"), "Conventions 1");
}

TEST_F(ProviderCheck, WritesAJunitDocument)
{
    const base_test::CEnvironmentValue defect("KITFI_DEFECT", "input-kept");
    const std::string file = m_root + "/junit.xml";
    EXPECT_EQ(check(FICTL_GOOD_PROVIDER, {"--only", "inputs", "--junit", file}).exit, 8);
    std::string text = base_test::contentOf(file);
    EXPECT_NE(text.find("tests=\"1\" failures=\"1\" skipped=\"0\">\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  <testcase classname=\"provider-check\" name=\"inputs\" time=\""), std::string::npos) << text;
    EXPECT_NE(text.find("    <failure message=\"pre_prepare(&quot;fictl-check-text&quot;): expected it returns, came "),
              std::string::npos)
        << text;
    EXPECT_EQ(check(FICTL_PLAIN_PROVIDER, {"--only", "messages", "--junit", file}).exit, 0);
    text = base_test::contentOf(file);
    EXPECT_NE(text.find("    <skipped message=\"the provider has put no message on its stack\"/>\n"), std::string::npos)
        << text;
}

TEST_F(ProviderCheck, ListsItsChecks)
{
    const std::vector<std::string> lines = linesOf(run({"provider", "check", "--list"}).out);
    ASSERT_EQ(lines.size(), fictl::providerChecks().size() + 1);
    EXPECT_EQ(lines[0].find("CHECK"), 0U);
    EXPECT_EQ(lines[1].find("library"), 0U);
}

TEST_F(ProviderCheck, RefusesAWrongCommandLine)
{
    EXPECT_EQ(run({"provider", "check"}).err, "fictl: PATH is required\n  next: fictl provider check --help\n");
    EXPECT_EQ(check(FICTL_GOOD_PROVIDER, {"--only", "nosuch"}).err,
              "fictl: no check is called \"nosuch\"\n  next: fictl provider check --list\n");
    EXPECT_EQ(check(FICTL_GOOD_PROVIDER, {"--only", "nosuch"}).exit, 2);
    EXPECT_EQ(check(FICTL_GOOD_PROVIDER, {"--limit", "0"}).exit, 2);
}

TEST_F(ProviderCheck, LeavesNothingInTheTemporaryFolder)
{
    const std::string folder = m_root + "/scratch";
    std::filesystem::create_directory(folder);
    const base_test::CEnvironmentValue temporary("TMPDIR", folder);
    EXPECT_EQ(check(FICTL_GOOD_PROVIDER, {"--only", "side-by-side"}).exit, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

}  // namespace
