#pragma once

#include <string>

#include "framework/src/trace/trace_conversion.h"

namespace obzx_pdk_4_4 {

/// Adds an argument to a line as its conversion wants it; in its own form, in the conversion's width, when its kind
/// does not fit.
void appendArgument(std::string& line, const STraceConversion& conversion, const CFiTraceArg& arg);

}  // namespace obzx_pdk_4_4
