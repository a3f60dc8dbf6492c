// Whether content is of one instant: two processes write to the two images of a group in one order, each write begun
// when the one before is safe. What is fixed meanwhile must hold the first N writes for some N and no other one.
#include <gmock/gmock.h>

#include <array>
#include <iostream>
#include <optional>

#include "appliance/ceph/tests/write_sequence.h"

namespace lumora::test {
namespace {

constexpr int CONTENTS = 20;

class CWitnessTest : public CClusterTest
{
  protected:
    std::string show(const std::string& group, const std::string& content, const std::string& volume) const
    {
        return m_imports.make(group, content, "t", volume);
    }
    std::optional<uint64_t> prefixIn(const std::array<std::string, 2>& images, uint64_t most) const
    {
        return prefixOf(bytesOf(images[0], most * SECTOR), bytesOf(images[1], most * SECTOR), most);
    }
};

TEST_F(CWitnessTest, EveryContentIsOfOneInstant)
{
    const std::string group = makeGroup();
    CWriteSequence sequence(m_setup, {own("a"), own("b")});
    sequence.waitFor(10);
    uint64_t last = 0;
    for (int i = 0; i < CONTENTS; ++i) {
        const std::string content = "c" + std::to_string(i);
        const uint64_t before = sequence.written();
        m_groups.fixContent(group, content);
        const uint64_t after = sequence.written() + 1;
        const std::optional<uint64_t> length =
            prefixIn({show(group, content, own("a")), show(group, content, own("b"))}, after + 100);
        ASSERT_TRUE(length.has_value()) << content;
        EXPECT_GE(*length, before);
        EXPECT_LE(*length, after);
        EXPECT_GE(*length, last);
        last = *length;
    }
    EXPECT_GT(last, 10);
    std::cout << CONTENTS << " contents, " << last << " writes, longest " << sequence.longestWrite().count() << " ms\n";
}

// The same check tells two contents, fixed one after the other, from one of an instant.
TEST_F(CWitnessTest, ContentFixedOneImageAfterTheOtherIsNot)
{
    for (const char* const name : {"a", "b"}) {
        m_images.make(own(name), uint64_t{8} << 20U);
        m_groups.make(own(name));
        m_groups.add(own(name), own(name));
    }
    CWriteSequence sequence(m_setup, {own("a"), own("b")});
    sequence.waitFor(10);
    int torn = 0;
    for (int i = 0; i < CONTENTS; ++i) {
        const std::string content = "c" + std::to_string(i);
        m_groups.fixContent(own("a"), content);
        m_groups.fixContent(own("b"), content);
        const std::string a = show(own("a"), content, own("a"));
        if (!prefixIn({a, show(own("b"), content, own("b"))}, sequence.written() + 100)) ++torn;
    }
    EXPECT_GT(torn, 0);
    std::cout << torn << " of " << CONTENTS << " torn\n";
}

}  // namespace

}  // namespace lumora::test
