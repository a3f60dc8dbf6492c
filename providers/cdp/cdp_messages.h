#pragma once

#include <string>
#include <vector>

#include "pdk/include/cfitracelog.h"

namespace cdpfi {

/// Keys of the provider's message catalogs.
namespace message {
constexpr const char* INITIALIZATION_FAILED = "MSG_ERROR_INITIALIZATION_FAILED";
constexpr const char* INITIALIZATION_CAUSE = "MSG_ERROR_INITIALIZATION_CAUSE";        ///< {0} what happened
constexpr const char* NO_APPLIANCE_CONFIGURED = "MSG_ERROR_NO_APPLIANCE_CONFIGURED";  ///< {0} configuration file
constexpr const char* TOOL_NOT_USABLE = "MSG_ERROR_TOOL_NOT_USABLE";                  ///< {0} tool, {1} appliances
constexpr const char* DISK_LISTING_FAILED = "MSG_ERROR_DISK_LISTING_FAILED";          ///< {0} tool, {1} its error
}  // namespace message

/// Where a message is reported from.
struct SMessageSource
{
    const char* m_file;
    int32_t m_line;
};

/// The factory of the provider's message catalogs.
obzx_pdk_4_4::CFiMessageCatalogFactoryPtr newCatalogFactory();

/// Pushes an error of the provider's catalogs onto the error stack. An empty manager: nothing.
void pushError(const obzx_pdk_4_4::CFiErrorManagerPtr& errors, const char* key, std::vector<std::string> arguments,
               const SMessageSource& source);

/// Reports an error as texts in the host's locale and in the default one, for a time when no catalog is registered yet.
void reportError(const obzx_pdk_4_4::CFiErrorManagerPtr& errors,
                 const obzx_pdk_4_4::CFiMessageCatalogManagerPtr& catalogs, const char* key,
                 std::vector<std::string> arguments, const SMessageSource& source);

}  // namespace cdpfi
