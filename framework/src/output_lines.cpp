#include "framework/src/output_lines.h"

#include <algorithm>

namespace obzx_pdk_4_4 {

void appendLines(std::string_view text, std::vector<std::string>& lines)
{
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

}  // namespace obzx_pdk_4_4
