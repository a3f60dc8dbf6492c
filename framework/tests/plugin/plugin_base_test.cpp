#include "framework/include/cfipluginbase.h"

#include <gtest/gtest.h>

#include <latch>
#include <stdexcept>
#include <thread>

#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

class CDelayed : public CFiPluginBase
{
  public:
    int32_t delayedInit() override
    {
        ++m_calls;
        if (m_nested) m_nestedStatus = invokeDelayedInit();
        if (m_throws) throw std::runtime_error("delayed");
        m_isDone = true;
        return m_status;
    }

    int m_calls = 0;
    int32_t m_status = OBZ_OK;
    int32_t m_nestedStatus = 77;
    bool m_nested = false;
    bool m_throws = false;
    bool m_isDone = false;  // on purpose not atomic: the mutex has to make it visible
};

TEST(DelayedInitialisation, RunsOnce)
{
    CDelayed plugin;
    EXPECT_EQ(plugin.invokeDelayedInit(), OBZ_OK);
    EXPECT_EQ(plugin.invokeDelayedInit(), OBZ_OK);
    EXPECT_EQ(plugin.m_calls, 1);
}

TEST(DelayedInitialisation, ReportsItsFailureToTheFirstCallerOnly)
{
    CDelayed plugin;
    plugin.m_status = 42;
    EXPECT_EQ(plugin.invokeDelayedInit(), 42);
    EXPECT_EQ(plugin.invokeDelayedInit(), OBZ_OK);
    EXPECT_EQ(plugin.m_calls, 1);
}

TEST(DelayedInitialisation, MayBeAskedForAgainFromWithin)
{
    CDelayed plugin;
    plugin.m_nested = true;
    EXPECT_EQ(plugin.invokeDelayedInit(), OBZ_OK);
    EXPECT_EQ(plugin.m_nestedStatus, OBZ_OK);
    EXPECT_EQ(plugin.m_calls, 1);
}

TEST(DelayedInitialisation, ThatThrowsGivesTheMutexBack)
{
    CDelayed plugin;
    plugin.m_throws = true;
    EXPECT_THROW(plugin.invokeDelayedInit(), std::runtime_error);
    int32_t status = 77;
    std::thread([&] { status = plugin.invokeDelayedInit(); }).join();
    EXPECT_EQ(status, OBZ_OK);
    EXPECT_EQ(plugin.m_calls, 1);
}

TEST(DelayedInitialisation, KeepsOtherThreadsWaitingUntilItIsThrough)
{
    CDelayed plugin;
    test::onEightThreads([&](int) {
        EXPECT_EQ(plugin.invokeDelayedInit(), OBZ_OK);
        EXPECT_TRUE(plugin.m_isDone);
    });
    EXPECT_EQ(plugin.m_calls, 1);
}

TEST(DelayedInitialisation, WaitsForTheHolderOfTheMutex)
{
    CDelayed plugin;
    std::latch held(1);
    plugin.getMutex().acquire();
    std::thread other([&] {
        held.count_down();
        plugin.invokeDelayedInit();
    });
    held.wait();
    EXPECT_EQ(plugin.m_calls, 0);
    EXPECT_EQ(plugin.invokeDelayedInit(), OBZ_OK);  // the holder itself may go on
    EXPECT_EQ(plugin.m_calls, 1);
    plugin.getMutex().release();
    other.join();
    EXPECT_EQ(plugin.m_calls, 1);
}

TEST(PluginBase, StartsWithItsSettings)
{
    CFiPluginBase plugin;
    EXPECT_EQ(plugin.getProviderName().length(), 0u);
    EXPECT_EQ(plugin.getFimName(), "");
    EXPECT_EQ(plugin.getMessageIndexOffset(), 6000);
    EXPECT_FALSE(plugin.traceLog());
    EXPECT_EQ(plugin.getCount(), 0);
    EXPECT_EQ(plugin.delayedInit(), OBZ_OK);
}

TEST(PluginBase, KeepsItsSettings)
{
    CFiPluginBase plugin;
    plugin.setProviderName("cdpfi");
    plugin.setFimName("Lumora");
    plugin.setMessageIndexOffset(100);
    EXPECT_STREQ(plugin.getProviderName().c_str(), "cdpfi");
    EXPECT_EQ(plugin.getFimName(), "Lumora");
    EXPECT_EQ(plugin.getMessageIndexOffset(), 100);
    plugin.setFimName(nullptr);
    EXPECT_EQ(plugin.getFimName(), "");
}

TEST(PluginBase, HoldsItsManagers)
{
    const CFiErrorManagerPtr errors(true);
    const CFiSessionManagerPtr sessions(true);
    {
        CFiPluginBase plugin;
        plugin.registerErrorManager(errors);
        plugin.registerSessionManager(sessions);
        EXPECT_EQ(errors->getCount(), 2);
        EXPECT_EQ(sessions->getCount(), 2);
    }
    EXPECT_EQ(errors->getCount(), 1);
    EXPECT_EQ(sessions->getCount(), 1);
}

TEST(PluginBase, RemembersThatItShutsDown)
{
    CFiPluginBase plugin;
    EXPECT_FALSE(plugin.isShuttingDown(false));
    EXPECT_TRUE(plugin.isShuttingDown(true));
    EXPECT_TRUE(plugin.isShuttingDown(false));
}

}  // namespace
}  // namespace obzx_pdk_4_4
