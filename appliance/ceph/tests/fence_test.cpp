// Clients that die with a lock in their hand, and those that only look dead.
#include "appliance/ceph/fence.h"

#include <gmock/gmock.h>

#include <csignal>

#include "appliance/ceph/ceph_catalog.h"
#include "appliance/ceph/tests/cluster_fixture.h"

namespace lumora::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class CFenceTest : public CClusterTest
{
  protected:
    CFenceTest() { makeGroup(); }

    std::vector<std::string> fence() { return fenceGone(m_cluster, m_catalog); }
    // A client that has written to the image, and so has its lock.
    std::vector<std::string> writer() const { return {"write", "images", own("a")}; }
};

TEST_F(CFenceTest, NobodyWaitsForADeadWriter)
{
    CClientProcess client(m_setup, writer());
    ASSERT_EQ(client.answer(), "written");
    const std::string holder = m_images.lockHolder(own("a"));
    EXPECT_THAT(m_images.attachedBy(own("a")), ElementsAre(holder));
    client.kill();
    EXPECT_EQ(m_images.lockHolder(own("a")), holder);
    EXPECT_LT(timeOf([&] {
                  EXPECT_THAT(fence(), ElementsAre(holder));
                  m_groups.fixContent(own("group"), "c1");
              }),
              milliseconds(1000));
    EXPECT_THAT(fence(), IsEmpty());
}

TEST_F(CFenceTest, ALivingWriterStaysAsItIs)
{
    CClientProcess client(m_setup, writer());
    ASSERT_EQ(client.answer(), "written");
    const std::string holder = m_images.lockHolder(own("a"));
    EXPECT_THAT(fence(), IsEmpty());
    ::kill(client.pid(), SIGSTOP);
    EXPECT_THAT(fence(), IsEmpty());
    EXPECT_EQ(m_images.lockHolder(own("a")), holder);
    ::kill(client.pid(), SIGCONT);
    client.say("again");
    EXPECT_EQ(client.answer(), "written");
}

TEST_F(CFenceTest, AWriterThatEndsLeavesNothingToFence)
{
    CClientProcess client(m_setup, writer());
    ASSERT_EQ(client.answer(), "written");
    client.kill();
    EXPECT_EQ(fence().size(), 1);
    {
        CCephCluster other(m_setup);
        other.handle();
    }
    EXPECT_THAT(fence(), IsEmpty());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_setup.clients), {}), 1);  // this process
}

// What makes the fence worth its name: the same client, taken for dead, can write no more.
TEST_F(CFenceTest, AClientThatIsShutOutWritesNoMore)
{
    CClientProcess client(m_setup, writer());
    ASSERT_EQ(client.answer(), "written");
    m_cluster.blocklist(m_images.lockHolder(own("a")));
    EXPECT_EQ(bytesOf(own("a"), 7), "written");  // what it wrote before is there, and the node knows from here on
    client.say("again");
    EXPECT_THAT(client.answer(), testing::StartsWith("error "));
}

}  // namespace

}  // namespace lumora::test
