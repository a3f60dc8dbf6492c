#include "framework/include/ccmnnetwork.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "framework/tests/support/scratch.h"

namespace {

using namespace std::string_literals;
using obzx_cmn_4_4::CCmnNetwork;
using obzx_cmn_4_4::SHostInfo;
using testing::Contains;
using testing::IsEmpty;

class Network : public obzx_test::CScratch
{
  protected:
    const CCmnNetwork m_network{"unit"};
};

TEST_F(Network, StoreNamesThisHost)
{
    configure("[FI_NETWORK]\nLOCAL_NAME=host-a.example.com\n");
    EXPECT_EQ(m_network.getFQDN(), "host-a.example.com");
}

TEST_F(Network, WithoutAStoreTheResolverNamesThisHost)
{
    char name[256] = {};
    ASSERT_EQ(::gethostname(name, sizeof name - 1), 0);
    EXPECT_EQ(m_network.getFQDN(), m_network.resolve(name).name);
    configure("[FI_NETWORK]\nLOCAL_NAME=\n");
    EXPECT_EQ(m_network.getFQDN(), m_network.resolve(name).name);
}

TEST_F(Network, ResolvesANumericAddress)
{
    const SHostInfo host = m_network.resolve("192.0.2.7");
    EXPECT_THAT(host.names, Contains("192.0.2.7"));
    EXPECT_EQ(host.addresses, std::set<std::string>{"192.0.2.7"});
    EXPECT_EQ(host.addressText, "192.0.2.7");
}

// An address is a name that every machine can resolve, also one without a hosts file or a resolver.
TEST_F(Network, ResolvesAName)
{
    const SHostInfo host = m_network.resolve("127.0.0.1");
    EXPECT_THAT(host.names, Contains("127.0.0.1"));
    EXPECT_THAT(host.addresses, Contains("127.0.0.1"));
    std::string joined;
    for (const std::string& address : host.addresses) {
        joined += (joined.empty() ? "" : " ") + address;
    }
    EXPECT_EQ(host.addressText, joined);
}

TEST_F(Network, OddNamesHaveNoAddresses)
{
    for (const std::string& name :
         {""s, std::string(4096, 'x'), std::string(4096, '.'), "a\0b"s, "a b"s, "\xff\xfe"s, "\n"s}) {
        const SHostInfo host = m_network.resolve(name);
        EXPECT_EQ(host.name, name);
        EXPECT_THAT(host.names, Contains(name));
        EXPECT_THAT(host.addresses, IsEmpty()) << name;
        EXPECT_EQ(host.addressText, "");
    }
}

TEST_F(Network, HostsWithACommonNameAreTheSame)
{
    const SHostInfo a{"host-a.example.com", {"host-a"}, "", {}};
    EXPECT_TRUE(CCmnNetwork::compare(a, {"HOST-A.example.COM", {}, "", {}}));
    EXPECT_TRUE(CCmnNetwork::compare(a, {"other", {"Host-A"}, "", {}}));
    EXPECT_TRUE(CCmnNetwork::compare({"Host-A", {}, "", {}}, a));
    EXPECT_FALSE(CCmnNetwork::compare(a, {"host-ab", {"host"}, "", {}}));
}

TEST_F(Network, HostsWithACommonAddressAreTheSame)
{
    const SHostInfo a{"a", {}, "", {"127.0.0.1", "192.0.2.1", "::1"}};
    EXPECT_TRUE(CCmnNetwork::compare(a, {"b", {}, "", {"192.0.2.1"}}));
    EXPECT_FALSE(CCmnNetwork::compare(a, {"b", {}, "", {"192.0.2.11", "2001:db8::1"}}));
}

TEST_F(Network, LoopbackAddressesAndEmptyNamesSayNothing)
{
    const std::set<std::string> loopback{"127.0.0.1", "127.0.1.1", "::1", "::ffff:127.0.0.1"};
    EXPECT_FALSE(CCmnNetwork::compare({"a", {}, "", loopback}, {"b", {}, "", loopback}));
    EXPECT_FALSE(CCmnNetwork::compare({"", {""}, "", {}}, {"", {""}, "", {}}));
    EXPECT_FALSE(CCmnNetwork::compare({}, {}));
}

}  // namespace
