// Memory that runs out anywhere below an operation: the operation answers with its failure value or does what it was
// asked for, tells why, and leaves nothing half-done and nothing behind.
#include <dlfcn.h>

#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>

#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/tests/plugin_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace {

bool g_describingThrows = false;

}  // namespace

// In place of the runtime's, which it calls unless a test wants it to fail.
obz_provider_list* obzx_build_providerlist_node(const char* name, int32_t kind, int32_t level,
                                                const uint16_t version[4], const char* const* attributes,
                                                int32_t attribute_count)
{
    if (g_describingThrows) throw std::runtime_error("no description");
    static auto* const real =
        reinterpret_cast<decltype(&obzx_build_providerlist_node)>(dlsym(RTLD_NEXT, "obzx_build_providerlist_node"));
    return real(name, kind, level, version, attributes, attribute_count);
}

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiSessionPtr;
using obzx_pdk_4_4::CFiSplitNode;

/// One operation under test. A round is prepare, call, settle; only the call runs out of memory.
struct SSweep
{
    std::string m_operation;
    int32_t m_failure;
    std::function<int32_t()> m_call;
    std::function<void(int32_t status)> m_settle = [](int32_t) {};  ///< checks the result and takes it back
    std::function<void()> m_prepare = [] {};
    bool m_traces = true;  ///< an exception gets as far as the operation, which traces it
};

class OutOfMemory : public CPluginTest
{
  protected:
    OutOfMemory()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
        m_scenario.addDisk("/dev/sda", "S1");
        m_messages.reserve(8);
        setenv("OBZX_TRACE_LEVEL", "0", 1);  // the trace file opens and closes as memory comes and goes
    }
    ~OutOfMemory() override { unsetenv("OBZX_TRACE_LEVEL"); }

    /// An appliance that says yes to everything and shows one and the same image, as fast as a process can.
    void answerFast()
    {
        const std::string image = answers::timeImage("ti1", {{{"imageS1", "TS1"}, {"lunS1", "S1"}}});
        m_scenario.write("opt/QXPKlm/bin/lmsh", "#!/bin/sh\nprintf %s '" + image + "'\n");
    }

    /// Lets every allocation of the call fail in turn. Each time the status is one of the two that may come, and after
    /// the round as many blocks are in use as before it.
    void sweep(const SSweep& sweep)
    {
        round(sweep, NONE);
        bool traced = false;
        int skipped = 0;
        while (round(sweep, skipped)) {
            traced = traced || m_sawException;
            if (HasFailure()) break;
            ++skipped;
        }
        EXPECT_EQ(sweep.m_traces, traced) << sweep.m_operation;
        EXPECT_GT(skipped, 1) << sweep.m_operation;
    }

  private:
    static constexpr int NONE = -1;

    /// @return whether the allocation was reached
    bool round(const SSweep& sweep, int skipped)
    {
        m_trace.clear();
        const long before = liveBlocks();
        sweep.m_prepare();
        const bool reached = callWithout(sweep, skipped);
        sweep.m_settle(m_status);
        m_trace.clear();
        if (skipped != NONE) {
            EXPECT_EQ(before, liveBlocks()) << sweep.m_operation << " without allocation " << skipped;
        }
        return reached;
    }

    bool callWithout(const SSweep& sweep, int skipped)
    {
        std::optional<CMemoryFault> fault;
        if (skipped != NONE) fault.emplace(CMemoryFault::EKind::OPERATOR_NEW, skipped);
        m_status = sweep.m_call();
        const bool happened = fault && fault->happened();
        fault.reset();
        m_sawException =
            m_trace.has("L1 " + sweep.m_operation + "(): Unhandled execption encountered, exiting the function");
        EXPECT_TRUE(!m_sawException || m_status == sweep.m_failure)
            << sweep.m_operation << " gave " << m_status << " without allocation " << skipped;
        return happened;
    }

    int32_t m_status = 0;
    bool m_sawException = false;
};

}  // namespace

TEST_F(OutOfMemory, InterposeGivesZeroOrAWholeAnswer)
{
    start();
    CNode device("/dev/sda");
    obzx_objid* interposed = nullptr;
    obzx_objid** groups = nullptr;
    int32_t count = 0;
    sweep({"interpose", 0, [&] { return plugin().interpose(device.get(), &interposed, &groups, &count); },
           [&](int32_t status) {
               EXPECT_EQ(status == 1, interposed != nullptr);
               if (interposed != nullptr) {
                   EXPECT_STREQ("<cdpfi>S1", interposed->name);
               }
               if (groups != nullptr) {
                   EXPECT_STREQ("cg1", groups[0]->name);
               }
               obzx_free_objid(interposed);
               obzx_free_objid_array(groups, count);
               interposed = nullptr;
               groups = nullptr;
           }});
}

TEST_F(OutOfMemory, SupportsFiTypeGivesZeroAndClaimAnswersAllTheSame)
{
    start();
    CNode node("<cdpfi>S1");
    sweep({"supportsFiType", 0, [&] { return plugin().supportsFiType(node.get(), "Lumora"); },
           [&](int32_t status) { EXPECT_EQ(status == 1 ? 11 : 0, node.access()); }, [&] { node.setAccess(9); }});
    obzx_objid** secondaries = nullptr;
    int32_t count = 0;
    for (int skipped = 0; skipped < 4; ++skipped) {
        const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, skipped);
        EXPECT_EQ(OBZ_CLAIM_SECONDARY, plugin().claim(node->identity, &secondaries, &count));
    }
}

TEST_F(OutOfMemory, ANodeIsSetUpWholeOrNotAtAll)
{
    start();
    for (const char* name : {"cg1", "<cdpfi>S1"}) {
        CNode node(name);
        sweep({"initNode", OBZ_ERR_FAILED, [&] { return initNode(node); },
               [&](int32_t status) {
                   EXPECT_EQ(status == OBZ_OK, node->private_data != nullptr);
                   EXPECT_EQ(status == OBZ_OK, node->combos != nullptr);
                   if (status == OBZ_OK) {
                       const CCDPPrivateData& data = *plugin().GetPrivateData(node.get());
                       EXPECT_EQ(CString("Lumora"), data.m_applianceType);
                       EXPECT_EQ(CString("server1"), data.m_applianceName);
                       EXPECT_EQ(CString(*name == 'c' ? "cg1" : "S1"), data.m_serialNo);
                       EXPECT_EQ(CString("cg1"), data.m_consistencyGroup);
                   }
                   plugin().deInitNode(node.get());
               }});
    }
}

TEST_F(OutOfMemory, TakingANodeDownGivesEverythingBackAllTheSame)
{
    start();
    for (const char* name : {"cg1", "<cdpfi>S1"}) {
        CNode node(name);
        sweep({"deInitNode", OBZ_ERR_FAILED, [&] { return plugin().deInitNode(node.get()); },
               [&](int32_t) {
                   EXPECT_EQ(nullptr, node->private_data);
                   EXPECT_EQ(nullptr, node->combos);
               },
               [&] { initNode(node); }});
    }
}

TEST_F(OutOfMemory, ListsHoldWhatWasBuiltAndTheStatusIsZero)
{
    start();
    obz_fim_list* fims = nullptr;
    sweep({"enumerateFims", OBZ_OK, [&] { return plugin().enumerateFims(&fims); },
           [&](int32_t) { obzx_free_fim_list(fims); }});
    obz_provider_list* provider = nullptr;
    SSweep info{"getProviderInfo", OBZ_OK, [&] { return plugin().getProviderInfo(&provider); },
                [&](int32_t) { obzx_free_provider_list(provider); }};
    info.m_traces = false;  // it needs no memory but the node's, and a node that was not built is not appended
    sweep(info);
}

TEST_F(OutOfMemory, AnyExceptionWhileTheProviderIsDescribedGivesZeroAndNothing)
{
    start();
    obz_provider_list* provider = nullptr;
    g_describingThrows = true;
    EXPECT_EQ(OBZ_OK, plugin().getProviderInfo(&provider));
    g_describingThrows = false;
    EXPECT_EQ(nullptr, provider);
    EXPECT_TRUE(m_trace.has("L1 getProviderInfo(): Unhandled execption encountered, exiting the function"));
}

TEST_F(OutOfMemory, AStateGoesOutWholeOrNotAtAll)
{
    start();
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    obz_blob blob{};
    sweep({"processProviderState", OBZ_ERR_FAILED,
           [&] { return plugin().processProviderState(node.get(), &blob, OBZ_STATE_GET); },
           [&](int32_t status) {
               EXPECT_EQ(status == OBZ_OK, blob.data != nullptr);
               obzx_free_buf(blob.data, blob.size);
               blob = {};
           }});
}

TEST_F(OutOfMemory, AStateComesInWholeOrNotAtAll)
{
    start();
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    CCDPPrivateData& data = *plugin().GetPrivateData(node.get());
    obz_blob former{};
    ASSERT_EQ(OBZ_OK, data.getNodeState(&former));
    char text[] =
        "<ApplianceType>t</ApplianceType>\n<ApplianceName>a</ApplianceName>\n<ConsistencyGroup>g</ConsistencyGroup>\n"
        "<TimeImage>i</TimeImage>\n<CheckPointName>c</CheckPointName>\n<SerialNo>s</SerialNo>\n";
    obz_blob other = {sizeof text, text, OBZ_ENCODING_STRING};
    sweep({"processProviderState", OBZ_ERR_FAILED,
           [&] { return plugin().processProviderState(node.get(), &other, OBZ_STATE_SET); },
           [&](int32_t status) {
               obz_blob now{};
               data.getNodeState(&now);
               const void* const expected = status == OBZ_OK ? other.data : former.data;
               EXPECT_STREQ(static_cast<const char*>(expected), static_cast<const char*>(now.data));
               obzx_free_buf(now.data, now.size);
               data.setNodeState(&former);
           },
           [&] { data.setNodeState(&former); }});
    obzx_free_buf(former.data, former.size);
}

TEST_F(OutOfMemory, DisposalsFailOrAreDone)
{
    start();
    answerFast();
    CNode target(targetName("S1", "KSV_Check_Point_77").c_str());
    sweep(
        {"dispose", OBZ_ERR_FAILED, [&] { return plugin().dispose(nullptr, target.get(), nullptr, OBZ_DISP_REMOVE); }});
    CNode primary("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(primary));
    CNode device("/dev/sdz");
    obz_blob none{};
    ASSERT_EQ(OBZ_OK, plugin().processProviderState(device.get(), &none, OBZ_STATE_SET));
    plugin().GetPrivateData(device.get())->m_timeImage = "KSV_Time_Image_77";
    sweep({"dispose", OBZ_ERR_FAILED,
           [&] { return plugin().dispose(primary.get(), device.get(), nullptr, OBZ_DISP_REMOVE); }});
}

TEST_F(OutOfMemory, ASnapshotIsRecordedWholeOrNotAtAll)
{
    start();
    answerFast();
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    CFiSessionPtr session = this->session("s", {&node});
    sweep({"makeSnapshots", OBZ_ERR_FAILED, [&] { return plugin().makeSnapshots(session); },
           [&](int32_t status) {
               session->update("<cdpfi>S1", [&](CFiSplitNode& entry) {
                   EXPECT_EQ(status == OBZ_OK, entry.m_makeDone == 1);
                   if (status == OBZ_OK) {
                       EXPECT_EQ(targetName("S1", checkPoint()), str(entry.m_target));
                   }
                   CString().swap(entry.m_target);
                   entry.m_makeDone = 0;
               });
               CString& recorded = plugin().GetPrivateData(node.get())->m_checkPointName;
               if (status == OBZ_OK) {
                   EXPECT_EQ(checkPoint(), str(recorded));
               }
               CString().swap(recorded);
           }});
}

TEST_F(OutOfMemory, GrantsFailOrAreDone)
{
    start();
    answerFast();
    const CString unclaimed(targetName("S9", "KSV_Check_Point_77").c_str());
    const CString device("/dev/sda");
    const CString name(targetName("S1", "KSV_Check_Point_77").c_str());
    CNode target(name.c_str());
    const auto import = [&](const CString& node, bool unmap) {
        return [this, &node, unmap] { return plugin().importNode(node, false, false, unmap, 1); };
    };
    const auto takeBack = [&](int32_t) { plugin().dispose(nullptr, target.get(), nullptr, OBZ_DISP_REMOVE); };
    sweep({"importNode", OBZ_ERR_FAILED, import(unclaimed, false)});
    sweep({"importNode", OBZ_ERR_FAILED, import(device, false)});
    sweep({"importNode", OBZ_ERR_FAILED, import(device, true)});
    sweep({"importNode", OBZ_ERR_FAILED, import(name, false), takeBack});
}

TEST_F(OutOfMemory, ImportsOfAnImageFailOrAreDone)
{
    start();
    answerFast();
    m_scenario.addDisk("/dev/imageS1", "TS1");
    CNode primary("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(primary));
    const std::string name = targetName("S1", "KSV_Check_Point_77");
    ASSERT_EQ(OBZ_OK, plugin().importNode(CString(name.c_str()), false, false, false, 1));
    plugin().GetPrivateData(primary.get())->m_timeImage = "KSV_Time_Image_77";
    std::optional<CNode> node;
    const auto prepare = [&] { node.emplace(name.c_str()); };
    sweep({"initAltNode", OBZ_ERR_FAILED,
           [&] { return plugin().initAltNode(primary.get(), nullptr, node->get(), false); },
           [&](int32_t status) {
               EXPECT_STREQ(status == OBZ_OK ? "/dev/imageS1" : name.c_str(), (*node)->identity->name);
               node.reset();
           },
           prepare});
    obzx_objid* output = nullptr;
    sweep({"importTreeNode", OBZ_ERR_FAILED,
           [&] { return plugin().importTreeNode(primary.get(), &(*node)->identity, &output, 0, nullptr); },
           [&](int32_t status) {
               EXPECT_EQ(status == OBZ_OK, output != nullptr);
               if (output != nullptr) {
                   EXPECT_STREQ("/dev/imageS1", output->name);
               }
               obzx_free_objid(output);
               node.reset();
           },
           prepare});
}

TEST_F(OutOfMemory, AStartThatFailsLeavesNothingAndMayBeRepeated)
{
    answerFast();
    m_scenario.refuse("kforutil listdisk");
    EXPECT_EQ(OBZ_ERR_INIT, init());  // the first message of a process finds out where its catalogs are
    fini();
    forget();
    m_scenario.refuseNothing();
    bool failed = false;
    SSweep start{"init", OBZ_ERR_INIT, [&] { return init(); },
                 [&](int32_t status) {
                     failed = failed || status == OBZ_ERR_INIT;
                     m_messages.clear();
                     fini();
                     forget();
                 },
                 [] {}};
    start.m_traces = false;  // it is told on the error stack
    sweep(start);
    EXPECT_TRUE(failed);
    EXPECT_EQ(OBZ_OK, init());
}

}  // namespace cdpfi
