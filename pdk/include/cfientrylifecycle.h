#pragma once

#include <new>
#include <string>

#include "pdk/include/cfientryguard.h"
#include "pdk/include/cfitracelog.h"

namespace obzx_pdk_4_4 {

/// What init and fini do around the plug-in's own operations.
template <class Plugin>
class FI_PRIVATE CFiEntryLifecycle
{
  public:
    /// Wires the singletons to each other and to the plug-in, then starts it. OBZ_ERR_INIT when one cannot be had, else
    /// the plug-in's own status. version must not be null and is filled first; context may be null.
    static int32_t start(obz_context* context, obz_version* version, const char* fimName)
    {
        *version = obz_version{OBZ_INTERFACE_VERSION, {}};
        try {
            if (!wire(context, fimName)) return OBZ_ERR_INIT;
        } catch (const std::bad_alloc&) {
            return OBZ_ERR_INIT;
        }
        return CFiContext::call<Plugin>(OBZ_ERR_INIT, &CFiPluginBase::init);
    }

    /// Ends the plug-in first, what it relies on after it, and the sessions last. An object that somebody else still
    /// holds goes when that one lets it go.
    static void end()
    {
        if (const auto plugin = CFiContext::fetch<Plugin>()) plugin->isShuttingDown(true);
        CFiContext::call<Plugin>(OBZ_ERR_FAILED, &CFiPluginBase::fini);
        CFiContext::end<Plugin>();
        CFiContext::end<CFiMessageCatalogManager>();
        CFiContext::end<CFiTraceLog>();
        CFiContext::end<CFiErrorManager>();
        CFiContext::end<CFiPrivateDataManager>();
        CFiContext::end<CFiSessionManager>();
    }

  private:
    struct FI_PRIVATE SManagers
    {
        CFiMessageCatalogManagerPtr catalogs = CFiContext::fetch<CFiMessageCatalogManager>();
        CFiTraceLogPtr traceLog = CFiContext::fetch<CFiTraceLog>();
        CFiErrorManagerPtr errors = CFiContext::fetch<CFiErrorManager>();
        CFiPrivateDataManagerPtr privateData = CFiContext::fetch<CFiPrivateDataManager>();
        CFiSessionManagerPtr sessions = CFiContext::fetch<CFiSessionManager>();

        bool complete() const { return catalogs && traceLog && errors && privateData && sessions; }
    };

    static bool wire(obz_context* context, const char* fimName)
    {
        if (!nameProvider(fimName)) return false;
        const SManagers managers;
        if (!managers.complete()) return false;
        prepareTraceLog(managers);
        prepareMessages(managers, context);
        return introduce(managers);
    }

    static bool nameProvider(const char* fimName)
    {
        const auto plugin = CFiContext::fetch<Plugin>();
        if (!plugin) return false;
        plugin->setProviderName(cfi_pgn_name_tstr);
        plugin->setFimName(fimName);
        plugin->setMessageIndexOffset(CFiPluginBase::DEFAULT_MESSAGE_OFFSET);
        return true;
    }

    static void prepareTraceLog(const SManagers& managers)
    {
        managers.traceLog->setErrorManager(managers.errors);
        managers.privateData->registerTraceLog(managers.traceLog);
        if (!managers.traceLog->isInitialized()) managers.traceLog->initialize(cfi_pgn_name_tstr, "", "", 1, false);
    }

    static void prepareMessages(const SManagers& managers, obz_context* context)
    {
        std::string locale;
        if (context != nullptr && context->locale != nullptr && *context->locale != nullptr) {
            locale = *context->locale;
            managers.catalogs->setNativeLanguage(locale);
        }
        managers.errors->registerHandler(CFiErrorHandlerPtr(new CFiErrorHandler(context, locale, managers.catalogs)));
    }

    static bool introduce(const SManagers& managers)
    {
        const auto plugin = CFiContext::fetch<Plugin>();
        if (!plugin) return false;
        plugin->registerTraceLog(managers.traceLog);
        plugin->registerErrorManager(managers.errors);
        plugin->registerCatalogManager(managers.catalogs);
        plugin->registerPrivateDataManager(managers.privateData);
        plugin->registerSessionManager(managers.sessions);
        return true;
    }
};

}  // namespace obzx_pdk_4_4
