#pragma once

#include <string>

#include "framework/include/cficonfigparam.h"
#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

/// The configuration values of a component as the file parameters.xml beside its message catalogs describes them. A
/// file that is missing, larger than 1 MiB or cannot be parsed, and a parser that cannot be loaded, give an empty list
/// and a trace line of level 2.
CFiConfigParamInfoList readParameterDescription(const std::string& component, const CFiTraceable& tracer);

}  // namespace obzx_pdk_4_4
