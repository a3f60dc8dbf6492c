#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "framework/include/cfimessage.h"
#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

/// Patterns of one component's messages. Any thread may call it.
class OBZX_API CFiMessageCatalog : public virtual CFiRefCount
{
  public:
    ~CFiMessageCatalog() override;
    /// The pattern of a message in a locale, from the nearest locale that has it; false when none has.
    virtual bool getPattern(const std::string& id, const std::string& locale, std::string& pattern) = 0;
};

using CFiMessageCatalogPtr = CFiSmartPtr<CFiMessageCatalog, CFiNullAllocator<CFiMessageCatalog>>;

/// Makes the catalog of one component, and messages of the catalog's kind. Any thread may call it.
class OBZX_API CFiMessageCatalogFactory : public virtual CFiRefCount
{
  public:
    ~CFiMessageCatalogFactory() override;
    virtual const std::string& getComponent() const = 0;  ///< whose messages: the provider's name
    /// The catalog of that component; empty when there is none.
    virtual CFiMessageCatalogPtr allocateCatalog(const char* name) = 0;
    /// A message with copies of what the record says; empty for a null.
    virtual CFiMessagePtr allocateMessage(const obz_msg_info* info) = 0;
};

using CFiMessageCatalogFactoryPtr = CFiSmartPtr<CFiMessageCatalogFactory, CFiNullAllocator<CFiMessageCatalogFactory>>;

/**
 * Catalogs that are ICU resource bundles: <data folder>/obzx/catalogs/<component>/<locale>.res, the data folder being
 * found relative to the runtime's own library. The bundle named at construction ("root") holds every message.
 */
class OBZX_API CFiIcuMessageCatalogFactory : public CFiMessageCatalogFactory
{
  public:
    /// @param rootName name of the bundle without which a folder is no catalog
    CFiIcuMessageCatalogFactory(std::string rootName, std::string component);
    ~CFiIcuMessageCatalogFactory() override;
    const std::string& getComponent() const override { return m_component; }
    CFiMessageCatalogPtr allocateCatalog(const char* name) override;
    CFiMessagePtr allocateMessage(const obz_msg_info* info) override;

  private:
    std::string m_rootName;
    std::string m_component;
};

/// Finds the texts of messages. Any thread may call it.
class OBZX_API CFiMessageCatalogManager : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    CFiMessageCatalogManager();
    ~CFiMessageCatalogManager() override;

    /// The factory registered last for a component wins.
    void registerFactory(const CFiMessageCatalogFactoryPtr& factory);
    void setNativeLanguage(const std::string& locale);  ///< the host's locale; empty: it gave none
    std::string getNativeLanguage() const;

    /// The pattern of a component's message, from the nearest locale that has it; false when there is none.
    bool findPattern(const std::string& component, const std::string& id, const std::string& locale,
                     std::string& pattern);
    /**
     * The message's text in a locale; the empty name means the default locale (English). A message that no catalog
     * holds reads as its key, followed by its arguments.
     */
    std::string getLocalizedMessage(const CFiMessage& message, const std::string& locale);
    /// Empty when no factory is registered for the record's catalog.
    CFiMessagePtr allocateMessage(const obz_msg_info* info);

  private:
    struct SEntry
    {
        CFiMessageCatalogFactoryPtr factory;
        CFiMessageCatalogPtr catalog;  // made on first use
    };
    SEntry* findEntry(const std::string& component);

    mutable std::mutex m_mutex;
    std::vector<SEntry> m_entries;
    std::string m_nativeLanguage;
};

using CFiMessageCatalogManagerPtr =
    CFiSmartPtr<CFiMessageCatalogManager, CFiContextSingletonAllocator<CFiMessageCatalogManager>>;

}  // namespace obzx_pdk_4_4
