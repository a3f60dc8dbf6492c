#include "framework/include/cfimessagecatalog.h"

#include <utility>

#include "framework/src/messages/catalog_folder.h"
#include "framework/src/messages/icu_message_catalog.h"
#include "framework/src/messages/message_bound.h"
#include "framework/src/messages/message_text.h"

namespace obzx_pdk_4_4 {
namespace {

std::string textOf(const char* text)
{
    return text == nullptr ? std::string() : std::string(text);
}

obz_eseverity severityOf(int32_t value)
{
    switch (value) {
        case OBZ_SEV_INFO:
            return OBZ_SEV_INFO;
        case OBZ_SEV_WARNING:
            return OBZ_SEV_WARNING;
        default:
            return OBZ_SEV_ERROR;  // a host may have written anything there: no failure may look harmless by that
    }
}

std::vector<std::string> argumentsOf(const obz_msg_info& info)
{
    std::vector<std::string> arguments;
    if (info.arguments == nullptr) return arguments;
    for (int32_t i = 0; i < info.argument_count; ++i) {
        arguments.push_back(textOf(info.arguments[i]));
    }
    return arguments;
}

}  // namespace

CFiMessageCatalog::~CFiMessageCatalog() = default;
CFiMessageCatalogFactory::~CFiMessageCatalogFactory() = default;

CFiIcuMessageCatalogFactory::CFiIcuMessageCatalogFactory(std::string rootName, std::string component)
    : m_rootName(std::move(rootName)), m_component(std::move(component))
{
}

CFiIcuMessageCatalogFactory::~CFiIcuMessageCatalogFactory() = default;

CFiMessageCatalogPtr CFiIcuMessageCatalogFactory::allocateCatalog(const char* name)
{
    const std::string folder = catalogFolder(textOf(name));
    if (folder.empty()) return nullptr;
    CFiSmartPtr<CIcuMessageCatalog> catalog(new CIcuMessageCatalog(folder, m_rootName));
    if (!catalog || !catalog->hasRoot()) return nullptr;
    return catalog;
}

CFiMessagePtr CFiIcuMessageCatalogFactory::allocateMessage(const obz_msg_info* info)
{
    if (info == nullptr) return nullptr;
    return CFiMessagePtr(new CFiIcuMessage(textOf(info->catalog), textOf(info->id), argumentsOf(*info),
                                           textOf(info->file), info->line, severityOf(info->severity)));
}

CFiMessageCatalogManager::CFiMessageCatalogManager() = default;
CFiMessageCatalogManager::~CFiMessageCatalogManager() = default;

CFiMessageCatalogManager::SEntry* CFiMessageCatalogManager::findEntry(const std::string& component)
{
    for (SEntry& entry : m_entries) {
        if (entry.factory->getComponent() == component) return &entry;
    }
    return nullptr;
}

void CFiMessageCatalogManager::registerFactory(const CFiMessageCatalogFactoryPtr& factory)
{
    SEntry registered{factory, nullptr};
    if (!registered.factory) return;
    const std::lock_guard lock(m_mutex);
    if (SEntry* entry = findEntry(factory->getComponent())) {
        *entry = std::move(registered);
    } else {
        m_entries.push_back(std::move(registered));
    }
}

void CFiMessageCatalogManager::setNativeLanguage(const std::string& locale)
{
    const std::lock_guard lock(m_mutex);
    m_nativeLanguage = locale;
}

std::string CFiMessageCatalogManager::getNativeLanguage() const
{
    const std::lock_guard lock(m_mutex);
    return m_nativeLanguage;
}

bool CFiMessageCatalogManager::findPattern(const std::string& component, const std::string& id,
                                           const std::string& locale, std::string& pattern)
{
    CFiMessageCatalogPtr catalog;
    {
        const std::lock_guard lock(m_mutex);
        SEntry* entry = findEntry(component);
        if (entry == nullptr) return false;
        if (!entry->catalog) entry->catalog = entry->factory->allocateCatalog(component.c_str());
        catalog = entry->catalog;
    }
    return catalog && catalog->getPattern(id, locale, pattern);
}

std::string CFiMessageCatalogManager::getLocalizedMessage(const CFiMessage& message, const std::string& locale)
{
    std::string pattern;
    std::string text = findPattern(message.getCatalog(), message.getMessageId(), locale, pattern)
                           ? message.format(pattern, locale)
                           : appendArguments(message.getMessageId(), message.getArguments());
    boundMessage(text, message.getCatalog());
    return text;
}

CFiMessagePtr CFiMessageCatalogManager::allocateMessage(const obz_msg_info* info)
{
    if (info == nullptr) return nullptr;
    CFiMessageCatalogFactoryPtr factory;
    {
        const std::lock_guard lock(m_mutex);
        const SEntry* entry = findEntry(textOf(info->catalog));
        if (entry == nullptr) return nullptr;
        factory = entry->factory;
    }
    return factory ? factory->allocateMessage(info) : CFiMessagePtr();
}

}  // namespace obzx_pdk_4_4
