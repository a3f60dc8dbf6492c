// A lock that cannot be taken costs a result, never the process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/tests/test_root.h"
#include "framework/include/cfiprivatedata.h"
#include "pdk/include/cfisessionmgr.h"
#include "pdk/include/cfitracelog.h"
#include "pdk/tests/faults.h"
#include "pdk/tests/host_objects.h"
#include "pdk/tests/loaded_provider.h"

namespace pdktest {
namespace {

using namespace obzx_pdk_4_4;

TEST(FailingLock, OfPrivateDataIsNoCrash)
{
    const auto steps = [] {
        CHostObjects objects;
        obz_domain* const node = objects.domain("node");
        CFiPrivateDataManager manager;
        manager.registerTraceLog(CFiTraceLogPtr(true));
        manager.allocate(node, false);
        manager.access(node);
        manager.accessByName("node", false);
        manager.deallocate(node);
        manager.registerFactory(CFiPrivateDataFactoryPtr(new CFiPrivateDataConcreteFactory<CFiPrivateData>()));
        manager.allocate(node, true);
        if (const CFiPrivateDataFactoryPtr factory = manager.getFactory()) factory->getPrivateDataList(true);
        manager.deallocate(node);
    };
    EXPECT_EXIT(failEveryLock(steps), ::testing::ExitedWithCode(0), "");
}

class CQuietHandler : public CFiErrorHandlerBase
{
  public:
    int32_t handleMessage(const char*, obz_eseverity) override { return 0; }
    int32_t handleMessage(CFiMessagePtr) override { return 0; }
};

TEST(FailingLock, OfTheErrorStackIsNoCrash)
{
    const auto steps = [] {
        CFiErrorManager manager;
        manager.registerHandler(CFiErrorHandlerPtr(new CQuietHandler()));
        manager.push(CFiMessagePtr(new CFiMessage("testfi", "KEY", {}, "file.cpp", 7, OBZ_SEV_ERROR)));
        manager.report("text", OBZ_SEV_ERROR);
        manager.top();
        manager.remove("KEY", "file.cpp", 7);
    };
    EXPECT_EXIT(failEveryLock(steps), ::testing::ExitedWithCode(0), "");
}

TEST(FailingLock, OfMessageCatalogsIsNoCrash)
{
    const auto steps = [] {
        char component[] = "pdktest";
        const obz_msg_info info = {component, component, component, 0, OBZ_SEV_ERROR, nullptr, 0};
        const CFiIcuMessage message("pdktest", "MSG_ERROR_PDKTEST_0001", {}, "", 1, OBZ_SEV_ERROR);
        CFiMessageCatalogManager manager;
        for (int i = 0; i < 2; ++i) {
            manager.registerFactory(CFiMessageCatalogFactoryPtr(new CFiIcuMessageCatalogFactory("root", "pdktest")));
            manager.getLocalizedMessage(message, "de");
            manager.allocateMessage(&info);
        }
    };
    EXPECT_EXIT(failEveryLock(steps), ::testing::ExitedWithCode(0), "");
}

TEST(FailingLock, OfASessionIsNoCrash)
{
    const auto steps = [] {
        CHostObjects objects;
        obz_splitnode* nodes[] = {objects.splitNode("a")};
        CFiSessionManager manager;
        for (int i = 0; i < 2; ++i) {
            const CFiSessionPtr session = manager.getSession("session");
            if (!session) continue;
            session->addNodes(nodes, 1);
            session->getSplitNodeList(PHASE_MAKE);
        }
    };
    EXPECT_EXIT(failEveryLock(steps), ::testing::ExitedWithCode(0), "");
}

TEST(FailingLock, OfAWholeLifeOfAProviderIsNoCrash)
{
    const base_test::CTestRoot root;
    const auto steps = [] {
        CHostObjects objects;
        obz_domain* const node = objects.domain("node");
        obz_blob blob = {};
        obz_msg_info* message = nullptr;
        const CLoadedProvider provider(providerPath("plainfi"), "plainfi");
        const int32_t status = provider.init();
        if (status != OBZ_OK && status != OBZ_ERR_INIT) _exit(2);
        provider.get<obzx_fi_init_node_fn>("init_node")(node, nullptr, 0, nullptr);
        provider.get<obzx_fi_process_providerstate_fn>("process_providerstate")(node, &blob, OBZ_STATE_GET);
        provider.get<obzx_fi_get_last_error_fn>("get_last_error")(&message);
        provider.get<obzx_fi_deinit_node_fn>("deinit_node")(node);
        provider.fini();
    };
    EXPECT_EXIT(failEveryLock(steps), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace pdktest
