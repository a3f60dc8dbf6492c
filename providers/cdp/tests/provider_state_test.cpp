#include <cstring>

#include "providers/cdp/tests/plugin_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

namespace {

using testing::IsEmpty;

class ProviderState : public CPluginTest
{
  protected:
    ProviderState()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
        start();
    }
    int32_t process(CNode& node, obz_blob* blob, int operation)
    {
        return plugin().processProviderState(node.get(), blob, static_cast<obz_op_providerstate>(operation));
    }
};

}  // namespace

TEST_F(ProviderState, AStateGoesOutOfOneNodeAndIntoAnother)
{
    CNode from("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(from));
    m_trace.clear();
    obz_blob blob{};
    ASSERT_EQ(OBZ_OK, process(from, &blob, OBZ_STATE_GET));
    expectTrace("get");
    EXPECT_STREQ(
        "<ApplianceType>Lumora</ApplianceType>\n<ApplianceName>server1</ApplianceName>\n"
        "<ConsistencyGroup>cg1</ConsistencyGroup>\n<TimeImage></TimeImage>\n<CheckPointName></CheckPointName>\n"
        "<SerialNo>S1</SerialNo>\n",
        static_cast<const char*>(blob.data));
    EXPECT_EQ(std::strlen(static_cast<const char*>(blob.data)) + 1, blob.size);
    m_trace.clear();
    CNode to("<cdpfi>elsewhere");
    EXPECT_EQ(OBZ_OK, process(to, &blob, OBZ_STATE_SET));
    expectTrace("set");
    const CCDPPrivateData* data = plugin().GetPrivateData(to.get());
    ASSERT_NE(nullptr, data);
    EXPECT_EQ(CString("server1"), data->m_applianceName);
    EXPECT_EQ(CString("S1"), data->m_serialNo);
    EXPECT_FALSE(data->getIsAltNode());
    obzx_free_buf(blob.data, blob.size);
}

TEST_F(ProviderState, AStateOverwritesWhatTheNodeHad)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    char text[] = "<SerialNo>S2</SerialNo>";
    obz_blob blob = {sizeof text, text, OBZ_ENCODING_STRING};
    EXPECT_EQ(OBZ_OK, process(node, &blob, OBZ_STATE_SET));
    EXPECT_EQ(CString("S2"), plugin().GetPrivateData(node.get())->m_serialNo);
}

TEST_F(ProviderState, AnotherEncodingIsTracedAndGivesZero)
{
    CNode node("<cdpfi>S1");
    char text[] = "<SerialNo>S2</SerialNo>";
    obz_blob blob = {sizeof text, text, 7};
    EXPECT_EQ(OBZ_OK, process(node, &blob, OBZ_STATE_SET));
    expectTrace();
    EXPECT_EQ(CString(""), plugin().GetPrivateData(node.get())->m_serialNo);
}

TEST_F(ProviderState, ABlobWithoutDataOrSizeTracesNothingButTheFunction)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    char text[] = "<SerialNo>S2</SerialNo>";
    obz_blob withoutData = {sizeof text, nullptr, OBZ_ENCODING_STRING};
    obz_blob withoutSize = {0, text, 7};
    for (obz_blob* blob : {&withoutData, &withoutSize}) {
        m_trace.clear();
        EXPECT_EQ(OBZ_OK, process(node, blob, OBZ_STATE_SET));
        expectTrace();
        EXPECT_EQ(CString("S1"), plugin().GetPrivateData(node.get())->m_serialNo);
    }
}

TEST_F(ProviderState, WhatCannotBeServedGivesThree)
{
    CNode node("<cdpfi>S1");
    obz_blob blob{};
    EXPECT_EQ(3, process(node, &blob, OBZ_STATE_GET)) << "no private data";
    expectTrace("without_data");
    EXPECT_EQ(3, process(node, &blob, 2));
    expectTrace("other_operation");
    EXPECT_EQ(3, process(node, nullptr, OBZ_STATE_SET));
    EXPECT_EQ(3, plugin().processProviderState(nullptr, &blob, OBZ_STATE_GET));
    obz_domain nameless{};
    EXPECT_EQ(3, plugin().processProviderState(&nameless, &blob, OBZ_STATE_SET));
    EXPECT_EQ(nullptr, node->private_data);
}

TEST_F(ProviderState, AStateThatCannotBeReadOutLeavesAnEmptyBlob)
{
    CNode node("<cdpfi>S1");
    char text[] = "old";
    const obz_blob old = {sizeof text, text, OBZ_ENCODING_STRING};
    obz_blob blob = old;
    EXPECT_EQ(3, process(node, &blob, OBZ_STATE_GET)) << "no private data";
    EXPECT_EQ(nullptr, blob.data);
    EXPECT_EQ(0u, blob.size);
    blob = old;
    EXPECT_EQ(3, plugin().processProviderState(nullptr, &blob, OBZ_STATE_GET));
    EXPECT_EQ(nullptr, blob.data);
    ASSERT_EQ(OBZ_OK, initNode(node));
    blob = old;
    const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, 0);
    EXPECT_EQ(OBZ_ERR_FAILED, process(node, &blob, OBZ_STATE_GET));
    EXPECT_TRUE(fault.happened());
    EXPECT_EQ(nullptr, blob.data);
    EXPECT_EQ(0u, blob.size);
}

TEST_F(ProviderState, AStateThatComesInStaysTheHosts)
{
    CNode node("<cdpfi>S1");
    char text[] = "<SerialNo>S2</SerialNo>";
    obz_blob blob = {sizeof text, text, OBZ_ENCODING_STRING};
    EXPECT_EQ(OBZ_OK, process(node, &blob, OBZ_STATE_SET));
    EXPECT_EQ(3, process(node, &blob, 2));
    EXPECT_EQ(text, blob.data);
    EXPECT_EQ(sizeof text, blob.size);
}

TEST_F(ProviderState, RestoreAndDeportAreAcceptedWithoutDoingAnything)
{
    EXPECT_EQ(OBZ_OK, plugin().restore(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(OBZ_OK, plugin().deportTree(nullptr, nullptr, nullptr));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

}  // namespace cdpfi
