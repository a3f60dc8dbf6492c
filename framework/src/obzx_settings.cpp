#include "framework/include/cficonfiguration.h"
#include "framework/include/obzx_runtime.h"
#include "framework/src/text_copy.h"

char* obzx_get_setting(const char* component, const char* section, const char* name)
{
    if (component == nullptr || section == nullptr || name == nullptr) return nullptr;
    try {
        obzx_pdk_4_4::CFiConfiguration store(component);
        ACE_Configuration_Section_Key key;
        ACE_String_Base<char> value;
        if (store.openSection(section, key, 1) != 0 || store.getStringValue(name, value) != 0) return nullptr;
        return obzx_pdk_4_4::copyText(std::string(value.fast_rep(), value.length()));
    } catch (...) {
        return nullptr;  // no memory
    }
}
