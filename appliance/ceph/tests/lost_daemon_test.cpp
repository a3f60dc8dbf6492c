// What writers notice when a daemon of the cluster dies, and that nothing that was safe is lost.
#include <gmock/gmock.h>

#include <iostream>

#include "appliance/ceph/tests/write_sequence.h"

namespace lumora::test {
namespace {

constexpr uint64_t MORE = 100;  // writes before and after each event

class CLostDaemonTest : public CClusterTest
{
  protected:
    // Kills a daemon under two writers and starts it again; content is fixed before, meanwhile and after.
    void lose(const std::string& daemon)
    {
        const std::string group = makeGroup();
        CWriteSequence sequence(m_setup, {own("a"), own("b")});
        const auto goOn = [&](const std::string& content) {
            sequence.waitFor(sequence.written() + MORE);
            m_groups.fixContent(group, content);
            m_fixed.push_back({content, sequence.written()});
        };
        goOn("before");
        runCluster("kill " + daemon);
        goOn("without");
        runCluster("start " + daemon);
        goOn("after");
        sequence.stop();
        const uint64_t written = sequence.written();
        EXPECT_EQ(prefixIn(own("a"), own("b"), written + MORE), written);
        for (const auto& [content, least] : m_fixed) {
            const std::optional<uint64_t> length = prefixIn(m_imports.make(group, content, "t", own("a")),
                                                            m_imports.make(group, content, "t", own("b")), written);
            ASSERT_TRUE(length.has_value()) << content;
            EXPECT_LE(*length, least + 1) << content;
        }
        EXPECT_LT(sequence.longestWrite(), std::chrono::seconds(5));
        std::cout << written << " writes, longest " << sequence.longestWrite().count() << " ms\n";
    }

  private:
    std::optional<uint64_t> prefixIn(const std::string& a, const std::string& b, uint64_t most) const
    {
        return prefixOf(bytesOf(a, most * SECTOR), bytesOf(b, most * SECTOR), most);
    }

    std::vector<std::pair<std::string, uint64_t>> m_fixed;
};

TEST_F(CLostDaemonTest, AStorageNodeIsMissedForSecondsAtMost)
{
    lose("osd.1");
}

TEST_F(CLostDaemonTest, AMonitorIsMissedForSecondsAtMost)
{
    lose("mon.a");  // the leader, as the first one by its address
}

}  // namespace

}  // namespace lumora::test
