#pragma once

#include <string>

#include "framework/include/cficonfigparam.h"

namespace obzx_pdk_4_4 {

/// What the library of the parameter parser exports: parseParameterDescription under this name.
constexpr const char* PARSE_PARAMETERS = "obzx_parse_parameters";
using ParseParameters = bool(const std::string& xml, CFiConfigParamInfoList& parameters);

}  // namespace obzx_pdk_4_4
