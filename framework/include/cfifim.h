#pragma once

#include <ace/SString.h>

#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// A snapshot method (FIM) as an appliance offers it.
struct SFiFimInfo
{
    ACE_String_Base<char> m_type;         ///< of the appliance that offers it
    ACE_String_Base<char> m_splitName;    ///< the method's name, also its split name
    ACE_String_Base<char> m_quiesceName;  ///< the quiesce method that goes with it
    int32_t m_access = 0;                 ///< OBZ_ACCESS_* values or-ed
};

/// A snapshot method as it is enumerated to the host.
struct CFiFim
{
    std::string m_name;
    std::string m_version;  ///< for people
};

/// A provider as it describes itself to the host.
struct CFiProviderInfo
{
    int32_t m_kind = 0;  ///< for the host to show, as is the level
    int32_t m_level = 0;
    std::vector<std::string> m_attributes;  ///< free texts
};

/// A snapshot method as it was announced with addFim.
struct SFiAnnouncedFim
{
    std::string m_fimName;
    std::string m_splitName;    ///< method that makes the copy
    std::string m_quiesceName;  ///< method that holds writes back meanwhile
    int32_t m_access = 0;       ///< OBZ_ACCESS_* values or-ed
    std::string m_options;      ///< the provider's own words; may be empty
};

}  // namespace obzx_pdk_4_4
