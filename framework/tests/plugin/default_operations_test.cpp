#include <cstring>

#include "framework/include/obz_entry_points.h"
#include "framework/tests/plugin/default_calls.h"

namespace obzx_pdk_4_4 {
namespace {

using test::CNode;
using test::CSplitNodes;

class CPlain : public CFiPluginBase
{
};

TEST(DefaultOperations, OfAnInterposerAnswerByTheirKind)
{
    CFiPluginInterposer plugin;
    test::CDefaultCalls calls(plugin);
    test::callAllDefaults(calls);
    EXPECT_EQ(calls.results().size(), size_t{OBZX_FI_ENTRY_POINT_COUNT});
}

TEST(DefaultOperations, OfAPlainProviderAnswerByTheirKind)
{
    CPlain plugin;
    test::CDefaultCalls calls(plugin);
    test::callAllDefaults(calls);
    EXPECT_EQ(calls.results().size(), size_t{OBZX_FI_ENTRY_POINT_COUNT});
}

TEST(DefaultOperations, TakeANullListWhenItsCountIsNotAboveZero)
{
    CFiPluginInterposer plugin;
    int32_t ready = 0;
    obzx_objid** identities = nullptr;
    for (const int32_t count : {0, -1}) {
        EXPECT_EQ(plugin.select("s", nullptr, count), OBZ_OK);
        EXPECT_EQ(plugin.preselect("s", nullptr, count), OBZ_OK);
        EXPECT_EQ(plugin.prepare("s", nullptr, count, 0), OBZ_USE_SESSION);
        EXPECT_EQ(plugin.make("s", nullptr, count, &identities, &ready), OBZ_USE_SESSION);
        EXPECT_EQ(plugin.quiesce(nullptr, count), OBZ_OK);
        EXPECT_EQ(plugin.unquiesce(nullptr, count), OBZ_OK);
        EXPECT_EQ(plugin.isReady(nullptr, count, &ready), OBZ_OK);
        EXPECT_EQ(plugin.verifyQSCombos(nullptr, count), OBZ_OK);
        EXPECT_EQ(plugin.setImportOptions(nullptr, count, ""), OBZ_OK);
        EXPECT_EQ(plugin.setRestorepaths("s", nullptr, count), OBZ_OK);
    }
}

TEST(DefaultOperations, RefuseAListOfNodesWithAGap)
{
    CFiPluginInterposer plugin;
    CSplitNodes entry({"a", "b"});
    entry.list()[1] = nullptr;
    CSplitNodes node({"a", "b"});
    node.at(0).node = nullptr;
    CSplitNodes name({"a", "b"});
    name.at(1).node->name = nullptr;
    for (CSplitNodes* const nodes : {&entry, &node, &name}) {
        obzx_objid identity = {};
        obzx_objid* list = &identity;
        obzx_objid** identities = &list;
        int32_t count = 77;
        EXPECT_EQ(plugin.preselect("s", nodes->list(), 2), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(plugin.select("s", nodes->list(), 2), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(plugin.prepare("s", nodes->list(), 2, 0), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(plugin.make("s", nodes->list(), 2, &identities, &count), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(identities, nullptr);
        EXPECT_EQ(count, 0);
    }
}

TEST(DefaultOperations, OnSessionsWorkOnTheSession)
{
    CFiPluginInterposer plugin;
    CFiSessionPtr none;
    obz_snaphandle handle = {};
    EXPECT_EQ(plugin.selectSnapshots(none), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(plugin.prepareSnapshots(none), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(plugin.makeSnapshots(none), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(plugin.updateSnapshotHandle(none, &handle), OBZ_ERR_INVALID_ARG);

    CFiSessionPtr session(new CFiSession());
    CSplitNodes nodes({"a", "b"});
    session->addNodes(nodes.list(), nodes.count());
    EXPECT_EQ(plugin.updateSnapshotHandle(session, nullptr), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(plugin.selectSnapshots(session), OBZ_OK);
    EXPECT_TRUE(session->getSplitNodeList(PHASE_SELECT).empty());
    EXPECT_EQ(session->getSplitNodeList(PHASE_PREPARE).size(), 2u);
    EXPECT_EQ(plugin.prepareSnapshots(session), OBZ_OK);
    EXPECT_TRUE(session->getSplitNodeList(PHASE_PREPARE).empty());
    EXPECT_EQ(plugin.makeSnapshots(session), OBZ_ERR_UNSUPPORTED);
    EXPECT_EQ(session->getSplitNodeList(PHASE_MAKE).size(), 2u);
}

TEST(DefaultOperations, AnswerAStateRequestWithAnEmptyState)
{
    CFiPluginInterposer plugin;
    CNode node("/dev/sdb");
    char text[] = "old";
    obz_blob blob = {4, text, 0};
    EXPECT_EQ(plugin.processProviderState(node.get(), &blob, OBZ_STATE_SET), OBZ_OK);
    EXPECT_EQ(blob.data, text);  // what comes in stays the host's
    EXPECT_EQ(plugin.processProviderState(node.get(), &blob, OBZ_STATE_GET), OBZ_OK);
    EXPECT_EQ(blob.data, nullptr);
    EXPECT_EQ(blob.size, 0u);
    EXPECT_EQ(blob.encoding, OBZ_ENCODING_STRING);
    blob = {4, text, 0};
    EXPECT_EQ(plugin.processProviderState(nullptr, &blob, OBZ_STATE_GET), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(blob.data, nullptr);
    EXPECT_EQ(blob.size, 0u);
    // A host in C may pass any number.
    const int32_t number = 7;
    obz_op_providerstate operation = OBZ_STATE_SET;
    static_assert(sizeof operation == sizeof number);
    std::memcpy(&operation, &number, sizeof number);
    EXPECT_EQ(plugin.processProviderState(node.get(), &blob, operation), OBZ_ERR_INVALID_ARG);
}

TEST(DefaultOperations, StoreThatANodeCannotBeSnapshot)
{
    CFiPluginInterposer plugin;
    CNode node("/dev/sdb");
    int32_t access = 77;
    node->access = &access;
    EXPECT_EQ(plugin.supportsFiType(node.get(), "any"), 0);
    EXPECT_EQ(access, OBZ_ACCESS_NONE);
    access = 77;
    EXPECT_EQ(plugin.supportsFiType(node.get(), nullptr), 0);
    EXPECT_EQ(access, OBZ_ACCESS_NONE);
}

TEST(DefaultOperations, GiveTheNodesPrivateDataBack)
{
    CFiPluginInterposer plugin;
    const CFiPrivateDataManagerPtr manager(true);
    plugin.registerPrivateDataManager(manager);
    CNode node("/dev/sdb");
    manager->allocate(node.get(), false);
    EXPECT_EQ(plugin.deInitNode(node.get()), OBZ_OK);
    EXPECT_EQ(node->private_data, nullptr);
    EXPECT_TRUE(manager->getFactory()->getPrivateDataList(false).empty());
    EXPECT_EQ(plugin.deInitNode(node.get()), OBZ_OK);  // nothing left to give back
}

TEST(DefaultOperations, KeepNoNodeTypesInAPlainProvider)
{
    CPlain plugin;
    EXPECT_EQ(plugin.addIgnoreNodeType(1), OBZ_ERR_UNSUPPORTED);
    EXPECT_EQ(plugin.setDefaultNodeType(1), OBZ_ERR_UNSUPPORTED);
    CNode node("/dev/sdb");
    CSplitNodes nodes({"a"});
    int32_t value = 77;
    EXPECT_EQ(plugin.isReady(nodes.list(), 1, &value), OBZ_OK);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(plugin.cacheFlush(node.get(), 0), OBZ_OK);
    EXPECT_EQ(plugin.cacheFlush(nullptr, 0), OBZ_ERR_INVALID_ARG);
}

}  // namespace
}  // namespace obzx_pdk_4_4
