// An appliance that answers nothing: what it costs the devices of others.
#include <gtest/gtest.h>

#include "tests/site.h"

namespace {

size_t countOf(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

TEST(SilentAppliance, CostsTheDevicesOfOthersOneTimeLimitAndIsNamed)
{
    CSite site;
    site.addGroup("alpha", "payroll", {"data"});
    site.addGroup("beta", "books", {"ledger"});
    site.setUpHosts();
    const std::string ledger = site.device("beta", "ledger");
    ASSERT_EQ(site.lmadm({"fault", "arm", "hang", "--match", "alpha: ", "--times", "0"}).status, 0);

    const SRun listed = site.fictl("production", {"--timeout", "1", "--output", "json", "device", "list", ledger});
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(listed.json()["devices"][0]["claimed"], true);
    EXPECT_EQ(countOf(listed.err, "  no answer within 1 s: stopped\n"), 1U) << listed.err;
    EXPECT_NE(listed.err.find("  appliance command: lmsh: server alpha; list hosts\n"), std::string::npos)
        << listed.err;
    EXPECT_EQ(countOf(listed.err, "cancelled"), 0U) << listed.err;

    // The provider's start, one look before and one after; the devices of the silent appliance are not served.
    const SRun made = site.fictl("production", {"--timeout", "1", "snapshot", "create", "s", ledger});
    EXPECT_EQ(made.status, 0) << made.err;
    const SRun refused =
        site.fictl("production", {"--timeout", "1", "snapshot", "create", "t", site.device("alpha", "data")});
    EXPECT_EQ(refused.status, 8) << refused.err;
    EXPECT_EQ(countOf(refused.err, "  no answer within 1 s: stopped\n"), 1U) << refused.err;
    EXPECT_NE(refused.err.find("server alpha"), std::string::npos) << refused.err;
}

}  // namespace
