#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace obzx_pdk_4_4 {

/// Appends the lines of a text without their line feeds; a last line without one counts. All other bytes stay.
void appendLines(std::string_view text, std::vector<std::string>& lines);

}  // namespace obzx_pdk_4_4
