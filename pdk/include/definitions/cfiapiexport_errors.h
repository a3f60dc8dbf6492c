#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: errors. Contracts: obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(errmsg)(int32_t code, char** text)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::errMsg, code, text);
}

int32_t FI_ENTRY(get_last_error)(obz_msg_info** message)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::getLastError, message);
}

int32_t FI_ENTRY(del_last_error)(obz_msg_info* message)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::delLastError, message);
}

int32_t FI_ENTRY(get_locale_message)(const obz_msg_info* message, const char* locale, char** text)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::getLocaleMessage, message, locale, text);
}

int32_t FI_ENTRY(del_locale_message)(char* text)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::delLocaleMessage, text);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
