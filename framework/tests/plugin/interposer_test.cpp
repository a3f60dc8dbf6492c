#include "framework/include/cfiplugininterposer.h"

#include <gmock/gmock.h>

#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

using test::CNode;
using testing::ElementsAre;

// Records what is imported; a name that begins with "bad" fails, one that begins with "throw" throws.
class CImporter : public CFiPluginInterposer
{
  public:
    using CFiPluginInterposer::importNode;
    int32_t importNode(const ACE_String_Base<char>& name, bool transportable, bool reserved, bool unmap,
                       int32_t flags) override
    {
        m_calls.push_back(std::string(name.c_str()) + (transportable ? " transportable" : "") +
                          (reserved ? " reserved" : "") + (unmap ? " unmap" : "") + " " + std::to_string(flags));
        if (name.find("throw") == 0) throw std::bad_alloc();
        return name.find("bad") == 0 ? 42 : OBZ_OK;
    }

    int32_t defaultNodeType() const { return m_defaultNodeType; }
    std::vector<int32_t> ignoredNodeTypes() const { return {m_ignoredNodeTypes[0], m_ignoredNodeTypes[1]}; }
    CFiPblmOps& problems() { return m_problems; }

    std::vector<std::string> m_calls;
};

TEST(Interposer, StartsWithItsOwnNodeValues)
{
    CImporter plugin;
    EXPECT_EQ(plugin.defaultNodeType(), 2048);
    EXPECT_EQ(plugin.getNodeValue(), 4098);
    EXPECT_THAT(plugin.ignoredNodeTypes(), ElementsAre(0, 0));
    EXPECT_TRUE(plugin.problems().getProblems().empty());
    EXPECT_TRUE(plugin.getAnnouncedFims().empty());
}

TEST(Interposer, PutsItsNameInBracketsBeforeItsNodes)
{
    CFiPluginInterposer plugin;
    EXPECT_STREQ(plugin.getInterposeNodePrefix().c_str(), "<>");
    plugin.setProviderName("cdpfi");
    EXPECT_STREQ(plugin.getInterposeNodePrefix().c_str(), "<cdpfi>");
}

TEST(Interposer, KeepsEveryAnnouncedMethod)
{
    CFiPluginInterposer plugin;
    plugin.addFim("Lumora", "split", "FI_QUIESCE_NONE", 3, "");
    plugin.addFim("Lumora", "split", "FI_QUIESCE_NONE", 3, "");
    plugin.addFim("Other", "o", "q", 1, "option");
    ASSERT_EQ(plugin.getAnnouncedFims().size(), 3u);
    const std::vector<SFiAnnouncedFim> fims = plugin.getFims("/dev/sdb");
    ASSERT_EQ(fims.size(), 3u);
    EXPECT_EQ(fims[1].m_fimName, "Lumora");
    EXPECT_EQ(fims[2].m_fimName, "Other");
    EXPECT_EQ(fims[2].m_splitName, "o");
    EXPECT_EQ(fims[2].m_quiesceName, "q");
    EXPECT_EQ(fims[2].m_access, 1);
    EXPECT_EQ(fims[2].m_options, "option");
}

TEST(Interposer, MapsAndUnmapsAResourceThroughImportNode)
{
    CImporter plugin;
    CNode node("/dev/sdb");
    EXPECT_EQ(plugin.importResource(node->identity, 0, 5), OBZ_OK);
    EXPECT_EQ(plugin.importResource(node->identity, 2, 0), OBZ_OK);
    EXPECT_EQ(plugin.deportResource(node->identity, 1, 7), OBZ_OK);
    EXPECT_THAT(plugin.m_calls,
                ElementsAre("/dev/sdb 5", "/dev/sdb transportable 0", "/dev/sdb transportable unmap 7"));
}

TEST(Interposer, HandsTheFailureOfImportNodeOn)
{
    CImporter plugin;
    CNode node("bad");
    EXPECT_EQ(plugin.importResource(node->identity, 0, 0), 42);
    EXPECT_EQ(plugin.deportResource(node->identity, 0, 0), 42);
}

TEST(Interposer, TurnsAnExceptionOfImportNodeIntoAFailure)
{
    const test::CTraceCapture capture(TRACE_FAILURE);
    CImporter plugin;
    plugin.registerTraceLog(capture.log());
    CNode node("throw");
    EXPECT_EQ(plugin.importResource(node->identity, 0, 0), OBZ_ERR_FAILED);
    EXPECT_THAT(capture.lines(), ElementsAre("1 importNode(): Unhandled execption encountered, exiting the function"));
}

TEST(Interposer, ImportsAListInOrderUpToTheFirstFailure)
{
    CImporter plugin;
    CNode a("a");
    CNode bad("bad");
    CNode c("c");
    obzx_objid* list[] = {a->identity, bad->identity, c->identity};
    EXPECT_EQ(plugin.importNode(list, 3, false, false, 1), 42);
    EXPECT_THAT(plugin.m_calls, ElementsAre("a 1", "bad 1"));
    EXPECT_EQ(plugin.importNode(list, 1, false, false, 1), OBZ_OK);
}

TEST(Interposer, RefusesAListWithHoles)
{
    CImporter plugin;
    obzx_objid nameless = {};
    obzx_objid* list[] = {nullptr};
    EXPECT_EQ(plugin.importNode(list, 1, false, false, 1), OBZ_ERR_INVALID_ARG);
    list[0] = &nameless;
    EXPECT_EQ(plugin.importNode(list, 1, false, false, 1), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(plugin.importNode(nullptr, 1, false, false, 1), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(plugin.importNode(nullptr, 0, false, false, 1), OBZ_OK);
    EXPECT_EQ(plugin.importNode(nullptr, -1, false, false, 1), OBZ_OK);
    EXPECT_TRUE(plugin.m_calls.empty());
}

TEST(Interposer, CannotImportByItself)
{
    CFiPluginInterposer plugin;
    EXPECT_EQ(plugin.importNode("a", false, false, false, 1), OBZ_ERR_UNSUPPORTED);
}

TEST(Interposer, SaysThatCopiesAreReady)
{
    CFiPluginInterposer plugin;
    test::CSplitNodes nodes({"a"});
    int32_t ready = 0;
    EXPECT_EQ(plugin.isReady(nodes.list(), 1, &ready), OBZ_OK);
    EXPECT_EQ(ready, 1);
}

TEST(Interposer, KnowsTheNodesThatHavePrivateData)
{
    CFiPluginInterposer plugin;
    CFiPrivateDataManager manager;
    CNode node("a");
    int32_t exists = 77;
    EXPECT_EQ(plugin.checkNodeExistence(node.get(), &exists), OBZ_OK);
    EXPECT_EQ(exists, 0);
    manager.allocate(node.get(), false);
    EXPECT_EQ(plugin.checkNodeExistence(node.get(), &exists), OBZ_OK);
    EXPECT_EQ(exists, 1);
    manager.deallocate(node.get());
}

TEST(Interposer, IgnoresUpToTwoNodeTypes)
{
    CImporter plugin;
    EXPECT_EQ(plugin.addIgnoreNodeType(0), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(plugin.addIgnoreNodeType(5), OBZ_OK);
    EXPECT_EQ(plugin.addIgnoreNodeType(5), OBZ_OK);
    EXPECT_THAT(plugin.ignoredNodeTypes(), ElementsAre(5, 0));
    EXPECT_EQ(plugin.addIgnoreNodeType(-1), OBZ_OK);
    EXPECT_EQ(plugin.addIgnoreNodeType(6), OBZ_ERR_FAILED);
    EXPECT_EQ(plugin.addIgnoreNodeType(-1), OBZ_OK);
    EXPECT_THAT(plugin.ignoredNodeTypes(), ElementsAre(5, -1));
}

TEST(Interposer, TakesAnotherDefaultNodeType)
{
    CImporter plugin;
    EXPECT_EQ(plugin.setDefaultNodeType(17), OBZ_OK);
    EXPECT_EQ(plugin.defaultNodeType(), 17);
}

TEST(Interposer, NotesProblems)
{
    CImporter plugin;
    plugin.problems().note("first");
    EXPECT_THAT(plugin.problems().getProblems(), ElementsAre("first"));
}

}  // namespace
}  // namespace obzx_pdk_4_4
