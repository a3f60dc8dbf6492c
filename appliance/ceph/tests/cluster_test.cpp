// A cluster that cannot be used.
#include <gmock/gmock.h>

#include "appliance/ceph/tests/cluster_fixture.h"
#include "base/tests/text_file.h"

namespace lumora::test {
namespace {

class CSetupTest : public CClusterTest
{
  protected:
    void expectUnusable(const SCephSetup& setup, const std::string& reason)
    {
        expectRefusal(
            EStatus::UNUSABLE,
            "cannot use the cluster of " + setup.configuration.string() + " as client." + setup.user + ": " + reason,
            [&] { CCephCluster(setup).handle(); });
    }
};

TEST_F(CSetupTest, IsRefusedWithoutItsConfiguration)
{
    expectUnusable({m_folder / "none.conf", "appliance", m_setup.clients}, "No such file or directory");
}

TEST_F(CSetupTest, IsRefusedForAUserWithoutAKey)
{
    expectUnusable({m_setup.configuration, "stranger", m_setup.clients}, "No such file or directory");
}

// The appliance's user may do its own work and nothing else.
TEST_F(CSetupTest, GivesTheUserNoMoreThanItNeeds)
{
    const CCephPool catalog(m_cluster, "catalog");
    EXPECT_EQ(::rados_write_full(catalog.handle(), own("x").c_str(), "x", 1), 0);
    EXPECT_EQ(::rados_remove(catalog.handle(), own("x").c_str()), 0);
    for (const char* const command :
         {R"({"prefix": "osd pool create", "pool": "other", "pg_num": 1})", R"({"prefix": "auth ls"})"}) {
        EXPECT_EQ(::rados_mon_command(m_cluster.handle(), const_cast<const char**>(&command), 1, nullptr, 0, nullptr,
                                      nullptr, nullptr, nullptr),
                  -EACCES)
            << command;
    }
}

}  // namespace

}  // namespace lumora::test
