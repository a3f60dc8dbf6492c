#include "framework/include/cfierrormanager.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

using testing::ElementsAre;

CFiMessagePtr message(const std::string& id, const std::string& file = "f.cpp", int32_t line = 1)
{
    return CFiMessagePtr(new CFiMessage("c", id, {}, file, line, OBZ_SEV_ERROR));
}

class CCollector : public CFiErrorHandlerBase
{
  public:
    explicit CCollector(std::vector<std::string>& seen) : m_seen(seen) {}
    int32_t handleMessage(const char* text, obz_eseverity severity) override
    {
        const std::lock_guard lock(m_mutex);
        m_seen.push_back(std::string(text) + "/" + std::to_string(severity));
        return 0;
    }
    int32_t handleMessage(CFiMessagePtr given) override
    {
        const std::lock_guard lock(m_mutex);
        m_seen.push_back(given->getMessageId());
        return 0;
    }

  private:
    std::mutex m_mutex;
    std::vector<std::string>& m_seen;
};

class CThrower : public CFiErrorHandlerBase
{
  public:
    int32_t handleMessage(const char*, obz_eseverity) override { throw std::runtime_error("handler"); }
    int32_t handleMessage(CFiMessagePtr) override { throw std::runtime_error("handler"); }
};

// Uses the manager while it is told of a message.
class CReentrant : public CFiErrorHandlerBase
{
  public:
    explicit CReentrant(CFiErrorManager& manager) : m_manager(manager) {}
    int32_t handleMessage(const char*, obz_eseverity) override { return 0; }
    int32_t handleMessage(CFiMessagePtr given) override
    {
        m_manager.registerHandler(nullptr);
        m_manager.remove(given->getMessageId(), given->getFileName(), given->getLineNumber());
        return 0;
    }

  private:
    CFiErrorManager& m_manager;
};

TEST(ErrorManager, ShowsTheNewestMessage)
{
    CFiErrorManager manager;
    EXPECT_FALSE(manager.top());
    manager.push(message("A"));
    manager.push(message("B"));
    manager.push(nullptr);
    EXPECT_EQ(manager.top()->getMessageId(), "B");
    EXPECT_EQ(manager.size(), 2u);
}

TEST(ErrorManager, RemovesTheNewestMatch)
{
    CFiErrorManager manager;
    manager.push(message("A", "f.cpp", 1));
    manager.push(message("B", "f.cpp", 2));
    manager.push(message("A", "f.cpp", 1));
    manager.push(message("C", "f.cpp", 3));
    EXPECT_FALSE(manager.remove("A", "f.cpp", 2));
    EXPECT_FALSE(manager.remove("A", "g.cpp", 1));
    EXPECT_FALSE(manager.remove("D", "f.cpp", 1));
    EXPECT_TRUE(manager.remove("C", "f.cpp", 3));
    EXPECT_TRUE(manager.remove("A", "f.cpp", 1));
    EXPECT_EQ(manager.top()->getMessageId(), "B");
    EXPECT_TRUE(manager.remove("A", "f.cpp", 1));
    EXPECT_FALSE(manager.remove("A", "f.cpp", 1));
    EXPECT_EQ(manager.size(), 1u);
}

TEST(ErrorManager, DropsTheOldestPastTwoHundredAndFiftySix)
{
    CFiErrorManager manager;
    for (int32_t i = 0; i < 257; ++i) {
        manager.push(message("A", "f.cpp", i));
    }
    EXPECT_EQ(manager.size(), 256u);
    EXPECT_FALSE(manager.remove("A", "f.cpp", 0));
    EXPECT_TRUE(manager.remove("A", "f.cpp", 1));
    EXPECT_TRUE(manager.remove("A", "f.cpp", 256));
}

TEST(ErrorManager, DeliversToEveryHandlerAtOnce)
{
    CFiErrorManager manager;
    std::vector<std::string> first;
    std::vector<std::string> second;
    manager.push(message("EARLY"));
    manager.registerHandler(CFiErrorHandlerPtr(new CCollector(first)));
    manager.registerHandler(CFiErrorHandlerPtr(new CCollector(second)));
    manager.push(message("A"));
    manager.report("text", OBZ_SEV_WARNING);
    manager.report(nullptr, OBZ_SEV_WARNING);
    manager.report("Text", "default text", OBZ_SEV_ERROR);
    manager.report(nullptr, "default text", OBZ_SEV_ERROR);
    manager.report("Text", nullptr, OBZ_SEV_ERROR);
    EXPECT_THAT(first, ElementsAre("A", "text/1", "default text/2"));
    EXPECT_EQ(first, second);
    EXPECT_EQ(manager.size(), 2u);
}

TEST(ErrorManager, SurvivesAHandlerThatFails)
{
    const test::CTraceCapture capture(TRACE_FAILURE);
    CFiErrorManager manager;
    manager.registerTraceLog(capture.log());
    std::vector<std::string> seen;
    manager.registerHandler(CFiErrorHandlerPtr(new CThrower()));
    manager.registerHandler(CFiErrorHandlerPtr(new CCollector(seen)));
    manager.push(message("A"));
    manager.report("text", OBZ_SEV_ERROR);
    EXPECT_THAT(seen, ElementsAre("A", "text/2"));
    EXPECT_THAT(capture.lines(), ElementsAre("1 CFiErrorManager: a message handler failed",
                                             "1 CFiErrorManager: a message handler failed"));
}

TEST(ErrorManager, MayBeUsedByAHandler)
{
    CFiErrorManager manager;
    manager.registerHandler(CFiErrorHandlerPtr(new CReentrant(manager)));
    manager.push(message("A"));
    EXPECT_EQ(manager.size(), 0u);
}

TEST(ErrorManager, ServesEightThreads)
{
    CFiErrorManager manager;
    std::vector<std::string> seen;
    manager.registerHandler(CFiErrorHandlerPtr(new CCollector(seen)));
    test::onEightThreads([&](int thread) {
        for (int32_t i = 0; i < 20; ++i) {
            manager.push(message("A", "f.cpp", thread * 100 + i));
            EXPECT_TRUE(manager.top());
        }
        for (int32_t i = 0; i < 10; ++i) {
            EXPECT_TRUE(manager.remove("A", "f.cpp", thread * 100 + i));
        }
    });
    EXPECT_EQ(manager.size(), 80u);
    EXPECT_EQ(seen.size(), 160u);
}

}  // namespace
}  // namespace obzx_pdk_4_4
