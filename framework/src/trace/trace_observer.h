#pragma once

#include <cstdint>
#include <string>

#include "framework/include/obzx_runtime.h"

namespace obzx_pdk_4_4 {

/// Hands a line to the process's trace observer when it asked for lines of that level.
void observeTrace(int32_t level, const std::string& component, const std::string& text);

/// As obzx_set_trace_observer.
void setTraceObserver(obzx_trace_observer observer, void* user, int32_t level);

}  // namespace obzx_pdk_4_4
