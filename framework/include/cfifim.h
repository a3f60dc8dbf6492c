#pragma once

#include <ace/SString.h>

#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// A snapshot method (FIM) as an appliance offers it.
struct SFiFimInfo
{
    ACE_String_Base<char> m_type;
    ACE_String_Base<char> m_splitName;  ///< the method's name, also its split name
    ACE_String_Base<char> m_quiesceName;
    int32_t m_access = 0;  ///< OBZ_ACCESS_* values or-ed
};

/// A snapshot method as it is enumerated to the host.
struct CFiFim
{
    std::string m_name;
    std::string m_version;
};

/// A provider as it describes itself to the host.
struct CFiProviderInfo
{
    int32_t m_kind = 0;
    int32_t m_level = 0;
    std::vector<std::string> m_attributes;
};

/// A snapshot method as it was announced with addFim.
struct SFiAnnouncedFim
{
    std::string m_fimName;
    std::string m_splitName;
    std::string m_quiesceName;
    int32_t m_access = 0;
    std::string m_options;
};

}  // namespace obzx_pdk_4_4
