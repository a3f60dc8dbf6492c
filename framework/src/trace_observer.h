#pragma once

#include <cstdint>
#include <string>

namespace obzx_pdk_4_4 {

/// Hands a line to the process's trace observer when it asked for lines of that level.
void observeTrace(int32_t level, const std::string& component, const std::string& text);

}  // namespace obzx_pdk_4_4
