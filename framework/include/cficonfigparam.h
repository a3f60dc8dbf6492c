#pragma once

#include <list>
#include <string>

namespace obzx_pdk_4_4 {

/// Description of one configuration value that a provider reads.
struct CFiConfigParamInfo
{
    std::string name;
    std::string type;
    std::string defaultValue;
    std::string help;
};

/// A configuration value as it was set.
struct CFiConfigParamData
{
    std::string name;
    std::string value;
};

using CFiConfigParamInfoList = std::list<CFiConfigParamInfo>;
using CFiConfigParamDataList = std::list<CFiConfigParamData>;

}  // namespace obzx_pdk_4_4
