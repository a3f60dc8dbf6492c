#include "providers/cdp/cdp_messages.h"

#include <utility>

#include "pdk/include/cfipluginname.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiErrorManagerPtr;
using obzx_pdk_4_4::CFiIcuMessage;
using obzx_pdk_4_4::CFiIcuMessageCatalogFactory;
using obzx_pdk_4_4::CFiMessageCatalogFactoryPtr;
using obzx_pdk_4_4::CFiMessageCatalogManager;
using obzx_pdk_4_4::CFiMessagePtr;

CFiMessageCatalogFactoryPtr newCatalogFactory()
{
    return CFiMessageCatalogFactoryPtr(new CFiIcuMessageCatalogFactory("root", cfi_pgn_name_str));
}

void pushError(const CFiErrorManagerPtr& errors, const char* key, std::vector<std::string> arguments,
               const SMessageSource& source)
{
    if (!errors) return;
    errors->push(CFiMessagePtr(
        new CFiIcuMessage(cfi_pgn_name_str, key, std::move(arguments), source.m_file, source.m_line, OBZ_SEV_ERROR)));
}

void reportError(const CFiErrorManagerPtr& errors, const obzx_pdk_4_4::CFiMessageCatalogManagerPtr& catalogs,
                 const char* key, std::vector<std::string> arguments, const SMessageSource& source)
{
    if (!errors) return;
    // A catalog manager of its own leaves the registered catalogs as they are.
    CFiMessageCatalogManager reader;
    reader.registerFactory(newCatalogFactory());
    const CFiIcuMessage message(cfi_pgn_name_str, key, std::move(arguments), source.m_file, source.m_line,
                                OBZ_SEV_ERROR);
    const std::string locale = catalogs ? catalogs->getNativeLanguage() : std::string();
    errors->report(reader.getLocalizedMessage(message, locale).c_str(), reader.getLocalizedMessage(message, "").c_str(),
                   OBZ_SEV_ERROR);
}

}  // namespace cdpfi
