// The entry points of the plug-in itself: nulls in every place, and life after life.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/tests/test_root.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/tests/faults.h"
#include "pdk/tests/footprint.h"
#include "pdk/tests/null_matrix.h"
#include "tests/site.h"

namespace {

using pdktest::CHostObjects;
using pdktest::CLoadedProvider;
using pdktest::CNullMatrix;
using pdktest::SFootprint;

/// The production host of a site with one appliance; its LUNs are not what the calls are about.
class CProductionHost
{
  public:
    CProductionHost()
    {
        m_site.addGroup("vault", "payroll", {"data"});
        m_site.setUpHosts();
    }

    CSite& site() { return m_site; }

  private:
    CSite m_site;
    base_test::CEnvironmentValue m_root{"OBZX_ROOT", m_site.root("production")};
};

// The operations that the plug-in carries out itself; the nodes of the calls are none of its own.
const pdktest::COwnAnswers OWN_ANSWERS = {
    {"init_node", "noio", OBZ_ERR_FAILED, OBZ_ERR_INVALID_ARG},
    {"init_altnode", "6on", OBZ_ERR_FAILED, OBZ_ERR_INVALID_ARG},
    {"init_remnode", "6on", OBZ_ERR_FAILED, OBZ_ERR_INVALID_ARG},
    {"process_providerstate", "nni", OBZ_ERR_INVALID_ARG, OBZ_ERR_INVALID_ARG},
    {"make", "onninn", OBZ_ERR_FAILED, OBZ_ERR_INVALID_ARG},
    {"import_tree", "nnnio", OBZ_ERR_INVALID_ARG, OBZ_ERR_INVALID_ARG},
    {"import_resource", "nii", OBZ_ERR_FAILED, OBZ_ERR_INVALID_ARG},
    {"deport_resource", "nii", OBZ_ERR_FAILED, OBZ_ERR_INVALID_ARG},
    {"dispose", "60oi", OBZ_ERR_FAILED, OBZ_OK},
    {"deport_tree", "ooo", OBZ_OK, OBZ_OK},
    {"restore", "ooiooooio", OBZ_OK, OBZ_OK},
};

class PluginNulls : public ::testing::TestWithParam<bool>
{
  protected:
    PluginNulls()
    {
        if (!GetParam()) return;
        EXPECT_EQ(m_provider.init(), OBZ_OK);
    }
    ~PluginNulls() override { m_provider.fini(); }

    CProductionHost m_host;
    CLoadedProvider m_provider{CDPFI_PROVIDER, "cdpfi"};
    CNullMatrix m_nulls{m_provider, OWN_ANSWERS};
};

TEST_P(PluginNulls, EachPointerInTurnGivesTheDocumentedStatus)
{
    m_nulls.callWithEachPointerNull();
}

TEST_P(PluginNulls, AllPointersAtOnceGiveTheDocumentedStatus)
{
    m_nulls.callWithAllPointersNull();
}

TEST_P(PluginNulls, NothingButZeroesIsNoCrash)
{
    m_nulls.callWithNothingButZeroes();
}

TEST_P(PluginNulls, NoneGivesTheStatusForANodeThatIsNotThePlugins)
{
    m_nulls.callWithoutANull();
}

INSTANTIATE_TEST_SUITE_P(, PluginNulls, ::testing::Bool(),
                         [](const auto& each) { return each.param ? "AfterInit" : "BeforeInit"; });

/// A backup up to the point where it would make a copy.
void liveOnce(const std::string& serial)
{
    CHostObjects objects;
    const CLoadedProvider provider(CDPFI_PROVIDER, "cdpfi");
    ASSERT_EQ(provider.init(), OBZ_OK);
    obz_domain* const node = objects.domain(("<cdpfi>" + serial).c_str());
    ASSERT_EQ(provider.get<obzx_fi_init_node_fn>("init_node")(node, nullptr, 0, nullptr), OBZ_OK);
    obz_splitnode split = {nullptr, node};
    EXPECT_EQ(provider.get<obzx_fi_select_fn>("select")(&split, "session", nullptr, 0), OBZ_OK);
    EXPECT_EQ(provider.get<obzx_fi_prepare_fn>("prepare")(&split, "session", nullptr, 0, 0), OBZ_OK);
    obz_blob blob = {};
    EXPECT_EQ(provider.get<obzx_fi_process_providerstate_fn>("process_providerstate")(node, &blob, OBZ_STATE_GET),
              OBZ_OK);
    obzx_free_buf(blob.data, blob.size);
    provider.get<obzx_fi_deinit_node_fn>("deinit_node")(node);
    provider.fini();
}

TEST(PluginLibrary, LeavesNothingBehindInAThousandLives)
{
    CProductionHost host;
    const std::string serial = host.site().serial("vault", "data");
    for (int i = 0; i < 10; ++i) {
        liveOnce(serial);  // what the process sets up once
    }
    const SFootprint before = SFootprint::take();
    for (int i = 0; i < LIVES; ++i) {
        liveOnce(serial);
    }
    pdktest::expectNoGrowth(before, SFootprint::take(), LIVES);
}

/// A host with the shell and without the disk utility. It has no configuration store: ACE's own heap behind one does
/// not survive a lock of its own that fails.
class CHostWithoutDiskUtility
{
  public:
    explicit CHostWithoutDiskUtility(const std::string& appliances)
    {
        m_root.write("opt/QXPKlm/bin/lmsh", "");
        m_root.write("etc/qz/hls.conf", appliances);
    }

  private:
    base_test::CTestRoot m_root;
};

void liveWithoutAStart()
{
    CHostObjects objects;
    obz_domain* const node = objects.domain("/dev/sda");
    obz_msg_info* message = nullptr;
    const CLoadedProvider provider(CDPFI_PROVIDER, "cdpfi");
    if (provider.init() != OBZ_ERR_INIT) _exit(2);
    provider.get<obzx_fi_init_node_fn>("init_node")(node, nullptr, 0, nullptr);
    provider.get<obzx_fi_get_last_error_fn>("get_last_error")(&message);
    provider.get<obzx_fi_deinit_node_fn>("deinit_node")(node);
    provider.fini();
}

TEST(PluginLibrary, SurvivesEachLockThatFailsWithoutDiskUtility)
{
    const CHostWithoutDiskUtility host("RSURL=vault:12345\n");
    EXPECT_EXIT(pdktest::failEveryLock(liveWithoutAStart), ::testing::ExitedWithCode(0), "");
}

TEST(PluginLibrary, SurvivesEachLockThatFailsWithoutAppliances)
{
    const CHostWithoutDiskUtility host("");
    EXPECT_EXIT(pdktest::failEveryLock(liveWithoutAStart), ::testing::ExitedWithCode(0), "");
}

}  // namespace
