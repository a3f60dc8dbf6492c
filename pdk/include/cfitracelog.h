#pragma once

/*
 * Tracing and error reporting, as a provider's source includes them.
 *
 * From the runtime, through this header: the trace log, the function tracer and the base of what traces
 * (framework/include/cfitrace.h), the error stack (cfierrormanager.h), messages and their catalogs (cfimessage.h,
 * cfimessagecatalog.h). The trace log of this provider is CFiContextSingleton<CFiTraceLog, FI_PLUGIN_NAME>::instance();
 * a plug-in is given it, the error stack and the catalogs as m_traceLog, m_errorManager and m_catalogManager.
 *
 * Of the glue: the handler through which the host hears of messages.
 */

#include <ace/SString.h>

#include <string>
#include <utility>

#include "framework/include/cfierrormanager.h"
#include "framework/include/cfimessagecatalog.h"
#include "framework/include/cfistringtool.h"
#include "framework/include/cfitrace.h"
#include "pdk/include/cfipluginname.h"

namespace obzx_pdk_4_4 {

/**
 * Hands the messages of a provider to the host's callback. The callback runs on the thread that reports, and the texts
 * end with the call. Without a context or a callback a message is dropped without an error.
 */
class FI_PRIVATE CFiErrorHandler : public CFiErrorHandlerBase
{
  public:
    /// @param context the host's, may be null; must outlive the handler
    /// @param locale the host's locale name, empty when it gave none
    CFiErrorHandler(obz_context* context, std::string locale, const CFiMessageCatalogManagerPtr& catalogManager)
        : m_context(context), m_locale(std::move(locale)), m_catalogManager(catalogManager)
    {
    }

    /// A plain text goes out as the default locale's, with an empty localised one; null counts as empty. Always 0.
    int32_t handleMessage(const char* text, obz_eseverity severity) override
    {
        const ACE_String_Base<char> converted = CFiStringTool::str2tstr(text == nullptr ? "" : text);
        deliver("", converted.c_str(), severity);
        return 0;
    }

    /// A catalog message goes out in the host's locale and in the default one. Always 0.
    int32_t handleMessage(CFiMessagePtr message) override
    {
        if (!message || !m_catalogManager) return 0;
        const std::string text = m_catalogManager->getLocalizedMessage(*message, "");
        const std::string localized = m_catalogManager->getLocalizedMessage(*message, m_locale);
        deliver(localized.c_str(), text.c_str(), message->getSeverity());
        return 0;
    }

    /// Both texts go out as they are. Always 0.
    int32_t handleTexts(const char* localized, const char* text, obz_eseverity severity) override
    {
        deliver(localized, text, severity);
        return 0;
    }

  private:
    void deliver(const char* localized, const char* text, obz_eseverity severity) const
    {
        if (m_context != nullptr && m_context->callback != nullptr) {
            m_context->callback(m_context, localized, text, severity);
        }
    }

    obz_context* m_context;
    std::string m_locale;
    CFiMessageCatalogManagerPtr m_catalogManager;
};

}  // namespace obzx_pdk_4_4
