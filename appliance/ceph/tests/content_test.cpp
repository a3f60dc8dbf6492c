// Content of groups on a cluster: fixed, shown to hosts, and removed in the order that keeps it whole.
#include <gmock/gmock.h>

#include "appliance/ceph/tests/cluster_fixture.h"

namespace lumora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string BEFORE = "before";
const std::string AFTERWARDS = "afterwards";
const std::string ZEROS(BEFORE.size(), '\0');

class CContentTest : public CClusterTest
{
  protected:
    void write(const std::string& image, const std::string& bytes) const
    {
        EXPECT_EQ(CAttachedImage(m_pool, image).write(bytes), 0);
    }
    std::string image(const std::string& name) const { return "image \"" + name + "\" of pool \"images\""; }
    std::string group() const { return "group \"" + own("group") + "\" of pool \"images\""; }
};

TEST_F(CContentTest, IsThatOfTheInstantWhateverIsWrittenLater)
{
    makeGroup();
    write(own("a"), BEFORE);
    m_groups.fixContent(own("group"), "c1");
    write(own("a"), AFTERWARDS);
    write(own("b"), AFTERWARDS);
    const std::string a = m_imports.make(own("group"), "c1", "t1", own("a"));
    const std::string b = m_imports.make(own("group"), "c1", "t1", own("b"));
    EXPECT_EQ(a, "c1.t1." + own("a"));
    EXPECT_EQ(bytesOf(a, BEFORE.size()), BEFORE);
    EXPECT_EQ(bytesOf(b, ZEROS.size()), ZEROS);
    EXPECT_EQ(bytesOf(own("a"), AFTERWARDS.size()), AFTERWARDS);
    EXPECT_EQ(m_images.size(a), uint64_t{8} << 20U);
}

TEST_F(CContentTest, IsFixedUnderAWriterThatHasTheImageAttached)
{
    makeGroup();
    const CAttachedImage attached(m_pool, own("a"));
    EXPECT_EQ(attached.write(BEFORE), 0);
    m_groups.fixContent(own("group"), "c1");
    EXPECT_EQ(attached.write(AFTERWARDS), 0);
    EXPECT_EQ(bytesOf(m_imports.make(own("group"), "c1", "t1", own("a")), BEFORE.size()), BEFORE);
}

TEST_F(CContentTest, ImportsOfItAreIndependent)
{
    makeGroup();
    write(own("a"), BEFORE);
    m_groups.fixContent(own("group"), "c1");
    const std::string first = m_imports.make(own("group"), "c1", "t1", own("a"));
    const std::string second = m_imports.make(own("group"), "c1", "t2", own("a"));
    write(first, AFTERWARDS);
    EXPECT_EQ(bytesOf(first, AFTERWARDS.size()), AFTERWARDS);
    EXPECT_EQ(bytesOf(second, BEFORE.size()), BEFORE);
    EXPECT_EQ(bytesOf(own("a"), BEFORE.size()), BEFORE);
    EXPECT_EQ(bytesOf(m_imports.make(own("group"), "c1", "t3", own("a")), BEFORE.size()), BEFORE);
    EXPECT_THAT(m_imports.of("c1", own("a")), UnorderedElementsAre(first, second, "c1.t3." + own("a")));
    m_imports.drop(first);
    EXPECT_EQ(bytesOf(second, BEFORE.size()), BEFORE);
}

TEST_F(CContentTest, IsNotDroppedWhileAnImageShowsIt)
{
    makeGroup();
    write(own("a"), BEFORE);
    m_groups.fixContent(own("group"), "c1");
    const std::string shown = m_imports.make(own("group"), "c1", "t1", own("a"));
    {
        const CAttachedImage attached(m_pool, shown);
        expectRefusal(EStatus::IN_USE,
                      "cannot drop content \"c1\" of " + group() + ": image \"" + shown + "\" shows it",
                      [this] { m_groups.dropContent(own("group"), "c1"); });
        EXPECT_EQ(attached.read(BEFORE.size()), BEFORE);
    }
    m_imports.drop(shown);
    m_groups.dropContent(own("group"), "c1");
    EXPECT_THAT(m_groups.contents(own("group")), IsEmpty());
}

TEST_F(CContentTest, GoesInOneOrderOnly)
{
    makeGroup();
    const std::string a = own("a");
    m_groups.fixContent(own("group"), "c1");
    const std::string shown = m_imports.make(own("group"), "c1", "t1", a);
    {
        const CAttachedImage attached(m_pool, shown);
        const std::string client = m_images.attachedBy(shown).at(0);
        expectRefusal(EStatus::IN_USE, "cannot drop " + image(shown) + ": it is attached by " + client,
                      [&] { m_imports.drop(shown); });
    }
    m_imports.drop(shown);
    expectRefusal(EStatus::IN_USE, "cannot take " + image(a) + " out of " + group() + ": content \"c1\" holds it",
                  [&] { m_groups.take(own("group"), a); });
    expectRefusal(EStatus::IN_USE, "cannot remove " + group() + ": it has content",
                  [this] { m_groups.remove(own("group")); });
    m_groups.dropContent(own("group"), "c1");
    expectRefusal(EStatus::IN_USE, "cannot remove " + group() + ": it has members",
                  [this] { m_groups.remove(own("group")); });
    expectRefusal(EStatus::IN_USE, "cannot remove " + image(a) + ": it is a member of a group",
                  [&] { m_images.remove(a); });
    m_groups.take(own("group"), a);
    {
        const CAttachedImage attached(m_pool, a);
        const std::string client = m_images.attachedBy(a).at(0);
        expectRefusal(EStatus::IN_USE, "cannot remove " + image(a) + ": it is attached by " + client,
                      [&] { m_images.remove(a); });
    }
    m_images.remove(a);
    EXPECT_THAT(m_groups.members(own("group")), ElementsAre(own("b")));
    m_groups.take(own("group"), own("b"));
    m_images.remove(own("b"));
    m_groups.remove(own("group"));
    EXPECT_THAT(m_images.names(), Not(testing::Contains(testing::HasSubstr(m_prefix))));
}

TEST_F(CContentTest, IsMissedByItsName)
{
    const std::string none = own("none");
    const std::string away = ": No such file or directory";
    expectRefusal(EStatus::MISSING, "cannot open " + image(none) + away, [&] { m_images.size(none); });
    expectRefusal(EStatus::MISSING, "cannot fix content \"c1\" of group \"" + none + "\" of pool \"images\"" + away,
                  [&] { m_groups.fixContent(none, "c1"); });
    EXPECT_THAT(m_groups.members(none), IsEmpty());
    EXPECT_THAT(m_groups.contents(none), IsEmpty());
    EXPECT_NO_THROW(m_groups.remove(none));
    makeGroup();
    expectRefusal(EStatus::MISSING, "content \"c1\" of " + group() + " does not exist for volume \"" + own("a") + "\"",
                  [this] { m_imports.make(own("group"), "c1", "t1", own("a")); });
    expectRefusal(EStatus::EXISTS, "cannot make " + image(own("a")) + ": File exists",
                  [this] { m_images.make(own("a"), 1); });
    expectRefusal(EStatus::MISSING, "cannot open pool \"none\"" + away, [this] { CCephPool(m_cluster, "none"); });
}

TEST_F(CContentTest, IsListedWhetherItIsComplete)
{
    makeGroup();
    m_groups.fixContent(own("group"), "c1");
    m_groups.fixContent(own("group"), "c2");
    std::vector<std::string> complete;
    for (const SGroupContent& content : m_groups.contents(own("group"))) {
        if (content.isComplete) complete.push_back(content.content);
    }
    EXPECT_THAT(complete, UnorderedElementsAre("c1", "c2"));
    expectRefusal(EStatus::EXISTS, "cannot fix content \"c1\" of " + group() + ": File exists",
                  [this] { m_groups.fixContent(own("group"), "c1"); });
}

}  // namespace

}  // namespace lumora::test
