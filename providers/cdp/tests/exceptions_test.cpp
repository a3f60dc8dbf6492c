// Memory that runs out anywhere below an operation: the operation answers with its failure value or does what it was
// asked for, tells why, and leaves nothing half-done that a later call would meet.
#include <functional>

#include "providers/cdp/tests/memory_faults.h"
#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiSessionPtr;

class OutOfMemory : public CPluginTest
{
  protected:
    OutOfMemory()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
        m_scenario.addDisk("/dev/sda", "S1");
    }

    /// Lets every allocation of a call fail in turn, and checks the status against the two that may come.
    void sweep(
        const std::string& operation, int32_t failure, const std::function<int32_t()>& call,
        const std::function<void()>& tidy = [] {}, int step = 1)
    {
        bool traced = false;
        for (int skipped = 0; skipped < 20000; skipped += step) {
            m_trace.clear();
            int32_t status = 0;
            bool happened = false;
            {
                const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, skipped);
                status = call();
                happened = fault.happened();
            }
            const bool unhandled =
                m_trace.has("L1 " + operation + "(): Unhandled execption encountered, exiting the function");
            EXPECT_TRUE(!unhandled || status == failure) << operation << " gave " << status << " at " << skipped;
            traced = traced || unhandled;
            tidy();
            if (!happened) break;
        }
        EXPECT_TRUE(traced) << operation;
    }
};

}  // namespace

TEST_F(OutOfMemory, ClaimInterposeAndSupportsFiTypeGiveZero)
{
    start();
    CNode device("/dev/sda");
    obzx_objid* interposed = nullptr;
    obzx_objid** groups = nullptr;
    int32_t count = 0;
    const auto release = [&] {
        obzx_free_objid(interposed);
        obzx_free_objid_array(groups, count);
        interposed = nullptr;
        groups = nullptr;
        count = 0;
    };
    sweep(
        "interpose", 0, [&] { return plugin().interpose(device.get(), &interposed, &groups, &count); }, release);
    CNode node("<cdpfi>S1");
    sweep("claim", 0, [&] { return plugin().claim(node->identity, &groups, &count); });
    sweep("supportsFiType", 0, [&] {
        node.setAccess(9);
        const int32_t supported = plugin().supportsFiType(node.get(), "Lumora");
        EXPECT_EQ(supported == 1 ? 11 : 0, node.access());
        return supported;
    });
}

TEST_F(OutOfMemory, SettingUpANodeFailsWholeAndTakingItDownFails)
{
    start();
    CNode node("cg1");
    sweep(
        "initNode", OBZ_ERR_FAILED,
        [&] {
            const int32_t status = initNode(node);
            EXPECT_EQ(status == OBZ_OK, node->private_data != nullptr);
            EXPECT_EQ(status == OBZ_OK, node->combos != nullptr);
            return status;
        },
        [&] { plugin().deInitNode(node.get()); });
    sweep("deInitNode", OBZ_ERR_FAILED, [&] {
        if (node->private_data == nullptr) initNode(node);
        return plugin().deInitNode(node.get());
    });
}

TEST_F(OutOfMemory, ListsHoldWhatWasBuiltAndTheStatusIsZero)
{
    start();
    obz_fim_list* fims = nullptr;
    sweep(
        "enumerateFims", OBZ_OK, [&] { return plugin().enumerateFims(&fims); }, [&] { obzx_free_fim_list(fims); });
}

TEST_F(OutOfMemory, StatesAreNotMovedHalfway)
{
    start();
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    obz_blob blob{};
    sweep(
        "processProviderState", OBZ_ERR_FAILED,
        [&] { return plugin().processProviderState(node.get(), &blob, OBZ_STATE_GET); },
        [&] {
            obzx_free_buf(blob.data, blob.size);
            blob = {};
        });
}

TEST_F(OutOfMemory, DisposalFails)
{
    start();
    CNode target(targetName("S1", "KSV_Check_Point_77").c_str());
    sweep(
        "dispose", OBZ_ERR_FAILED, [&] { return plugin().dispose(nullptr, target.get(), nullptr, OBZ_DISP_REMOVE); },
        [] {}, 5);
}

TEST_F(OutOfMemory, SnapshotsFail)
{
    start();
    CNode node("<cdpfi>S1");
    int round = 0;
    CFiSessionPtr session;
    const auto prepare = [&] {
        session = this->session(std::to_string(round++).c_str(), {&node});
        m_scenario.writeState("server1/ann.cg1." + checkPoint(), "");
        std::filesystem::remove(m_scenario.root() / ("opt/QXPKlm/bin/state/server1/ann.cg1." + checkPoint()));
    };
    prepare();
    sweep(
        "makeSnapshots", OBZ_ERR_FAILED, [&] { return plugin().makeSnapshots(session); }, prepare, 5);
}

TEST_F(OutOfMemory, ImportsFail)
{
    m_scenario.writeState("server1/ann.cg1.KSV_Check_Point_77", "");
    start();
    CNode primary("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(primary));
    const std::string name = targetName("S1", "KSV_Check_Point_77");
    // Up to the choice of the host: the configuration heap that the runtime reads its store with does not survive a
    // lack of memory.
    const CString unclaimed(targetName("S9", "KSV_Check_Point_77").c_str());
    sweep("importNode", OBZ_ERR_FAILED, [&] { return plugin().importNode(unclaimed, false, false, false, 1); });
    ASSERT_EQ(OBZ_OK, plugin().importNode(CString(name.c_str()), false, false, false, 1));
    plugin().GetPrivateData(primary.get())->m_timeImage = "KSV_Time_Image_77";
    m_scenario.addDisk("/dev/imageS1", "TS1");
    sweep(
        "initAltNode", OBZ_ERR_FAILED,
        [&] {
            CNode target(name.c_str());
            return plugin().initAltNode(primary.get(), nullptr, target.get(), false);
        },
        [] {}, 3);
    obzx_objid* output = nullptr;
    sweep(
        "importTreeNode", OBZ_ERR_FAILED,
        [&] {
            CNode input(name.c_str());
            return plugin().importTreeNode(primary.get(), &input->identity, &output, 0, nullptr);
        },
        [&] { obzx_free_objid(output); }, 3);
}

TEST_F(OutOfMemory, AStartThatRunsOutOfMemoryFailsAndMayBeRepeated)
{
    CCDPPlugin& object = plugin();
    bool failed = false;
    for (int skipped = 0; skipped < 5; ++skipped) {  // while the configuration is read
        int32_t status = 0;
        {
            const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, skipped);
            status = object.init();
        }
        EXPECT_TRUE(status == OBZ_OK || status == OBZ_ERR_INIT) << status;
        failed = failed || status == OBZ_ERR_INIT;
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(OBZ_OK, init());
}

}  // namespace cdpfi
