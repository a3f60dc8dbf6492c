#include "providers/cdp/cdp_support.h"

#include <string_view>

#include "base/file_read.h"

namespace cdpfi {

namespace {

constexpr size_t MAX_LINE = 4095;
constexpr size_t MAX_FILE = size_t{16} * 1024 * 1024;

}  // namespace

void CDPSupportFunction::readFile(const std::string& path, std::vector<std::string>& lines)
{
    const base::SFileText file = base::readFile(path, MAX_FILE);
    if (!file) return;
    std::string_view rest = file.text;
    for (;;) {
        const size_t end = rest.find('\n');
        lines.emplace_back(rest.substr(0, end).substr(0, MAX_LINE));
        if (end == std::string_view::npos) return;
        rest.remove_prefix(end + 1);
    }
}

}  // namespace cdpfi
