#pragma once

#include <list>
#include <string>

namespace obzx_pdk_4_4 {

/// Description of one configuration value that a provider reads.
struct CFiConfigParamInfo
{
    std::string name;          ///< "SECTION/NAME" in the configuration store
    std::string type;          ///< for people, such as "text" or "seconds"
    std::string defaultValue;  ///< what counts when the store has no value; empty: nothing does
    std::string help;          ///< one sentence for people
};

/// A configuration value as it was set.
struct CFiConfigParamData
{
    std::string name;   ///< as in the description
    std::string value;  ///< as it stands in the store
};

using CFiConfigParamInfoList = std::list<CFiConfigParamInfo>;
using CFiConfigParamDataList = std::list<CFiConfigParamData>;

}  // namespace obzx_pdk_4_4
