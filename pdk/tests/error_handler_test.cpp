#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pdk/include/cfitracelog.h"

namespace pdktest {
namespace {

using namespace obzx_pdk_4_4;

/// A catalog whose texts name the locale that they were asked for in.
class CLocaleCatalog : public CFiMessageCatalog
{
  public:
    bool getPattern(const std::string& id, const std::string& locale, std::string& pattern) override
    {
        pattern = id + " in [" + locale + "]";
        return true;
    }
};

class CLocaleCatalogFactory : public CFiMessageCatalogFactory
{
  public:
    const std::string& getComponent() const override { return m_component; }
    CFiMessageCatalogPtr allocateCatalog(const char*) override { return CFiMessageCatalogPtr(new CLocaleCatalog()); }
    CFiMessagePtr allocateMessage(const obz_msg_info*) override { return nullptr; }

  private:
    std::string m_component = "testfi";
};

struct SDelivered
{
    obz_context* context;
    std::string localized;
    std::string text;
    obz_eseverity severity;
};

void keep(obz_context* context, const char* localized, const char* text, obz_eseverity severity)
{
    static_cast<std::vector<SDelivered>*>(context->user)->push_back({context, localized, text, severity});
}

class ErrorHandler : public ::testing::Test
{
  protected:
    ErrorHandler() { catalogs->registerFactory(CFiMessageCatalogFactoryPtr(new CLocaleCatalogFactory())); }

    CFiMessageCatalogManagerPtr catalogs{true};
    std::vector<SDelivered> delivered;
    obz_context context{keep, &delivered, nullptr, nullptr};
    CFiMessagePtr message{new CFiMessage("testfi", "KEY", {}, "file.cpp", 7, OBZ_SEV_ERROR)};
};

TEST_F(ErrorHandler, GivesAPlainTextInTheDefaultLocaleOnly)
{
    CFiErrorHandler handler(&context, "de", catalogs);
    EXPECT_EQ(handler.handleMessage("text", OBZ_SEV_WARNING), 0);
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].context, &context);
    EXPECT_EQ(delivered[0].localized, "");
    EXPECT_EQ(delivered[0].text, "text");
    EXPECT_EQ(delivered[0].severity, OBZ_SEV_WARNING);
    EXPECT_EQ(handler.handleMessage(static_cast<const char*>(nullptr), OBZ_SEV_INFO), 0);
    EXPECT_EQ(delivered.at(1).text, "");
}

TEST_F(ErrorHandler, GivesACatalogMessageInTheHostsLocaleAndInTheDefaultOne)
{
    CFiErrorHandler handler(&context, "de", catalogs);
    EXPECT_EQ(handler.handleMessage(message), 0);
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].context, &context);
    EXPECT_EQ(delivered[0].localized, "KEY in [de]");
    EXPECT_EQ(delivered[0].text, "KEY in []");
    EXPECT_EQ(delivered[0].severity, OBZ_SEV_ERROR);
}

TEST_F(ErrorHandler, GivesATextThatIsReadyInBothLocalesAsItIs)
{
    const CFiErrorManagerPtr owner(new CFiErrorManager());
    owner->registerHandler(CFiErrorHandlerPtr(new CFiErrorHandler(&context, "de", catalogs)));
    owner->report("Text", "text", OBZ_SEV_WARNING);
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].localized, "Text");
    EXPECT_EQ(delivered[0].text, "text");
    EXPECT_EQ(delivered[0].severity, OBZ_SEV_WARNING);
}

TEST_F(ErrorHandler, WithoutAHostLocaleBothTextsAreTheDefaultOnes)
{
    CFiErrorHandler handler(&context, "", catalogs);
    handler.handleMessage(message);
    EXPECT_EQ(delivered.at(0).localized, delivered.at(0).text);
}

TEST_F(ErrorHandler, DropsMessagesWithoutAReceiver)
{
    obz_context mute = {nullptr, nullptr, nullptr, nullptr};
    for (obz_context* const receiver : {&mute, static_cast<obz_context*>(nullptr)}) {
        CFiErrorHandler handler(receiver, "de", catalogs);
        EXPECT_EQ(handler.handleMessage("text", OBZ_SEV_ERROR), 0);
        EXPECT_EQ(handler.handleMessage(message), 0);
    }
}

TEST_F(ErrorHandler, DropsAMessageThatIsNotThere)
{
    CFiErrorHandler handler(&context, "de", catalogs);
    EXPECT_EQ(handler.handleMessage(CFiMessagePtr()), 0);
    EXPECT_TRUE(delivered.empty());
}

TEST_F(ErrorHandler, ReceivesWhatIsPushedOntoTheErrorStack)
{
    CFiErrorManager* const manager = new CFiErrorManager();
    const CFiErrorManagerPtr owner(manager);
    owner->registerHandler(CFiErrorHandlerPtr(new CFiErrorHandler(&context, "fr", catalogs)));
    owner->push(message);
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].localized, "KEY in [fr]");
}

}  // namespace
}  // namespace pdktest
