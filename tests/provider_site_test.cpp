// The provider keeps to the host interface where it has appliances, too; so does the one that is shown to authors.
#include <gtest/gtest.h>

#include "tests/site.h"

namespace {

using base_test::linesOf;

TEST(ProviderOnASite, KeepsToTheHostInterfaceAndLeavesNoCopy)
{
    CSite site;
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();
    const SRun checked =
        site.fictl("production", {"provider", "check", CDPFI_PROVIDER, "--root", site.root("production"), "--device",
                                  site.device("vault", "data"), "--limit", "500"});
    EXPECT_EQ(checked.status, 0) << checked.out << checked.err;
    std::vector<std::string> others;
    for (const std::string& line : linesOf(checked.out)) {
        if (!line.ends_with(": PASS")) others.push_back(line);
    }
    const std::vector<std::string> expected = {
        "sessions: SKIP: the provider makes no copy of nodes that it does not know",
        "messages: SKIP: the provider has put no message on its stack",
        "callback: SKIP: the provider has told no message",
        "40 passed, 0 failed, 3 skipped",
    };
    EXPECT_EQ(others, expected);
    EXPECT_EQ(site.copiesOf("vault", "payroll"), std::vector<std::string>());
}

TEST(ProviderPage, ShowsWhatTheChecksSayOfItsProvider)
{
    const std::string page = contentOf(SAMPLE_PAGE);
    const std::string command = "$ fictl provider check ./libsample.so\n";
    const size_t begin = page.find(command);
    ASSERT_NE(begin, std::string::npos);
    const size_t shown = begin + command.size();
    const CSite site;
    const SRun checked = site.shell("production", std::string("fictl provider check ") + SAMPLE_PROVIDER);
    EXPECT_EQ(checked.status, 0);
    EXPECT_EQ(page.substr(shown, page.find("```", shown) - shown), checked.out);
}

}  // namespace
