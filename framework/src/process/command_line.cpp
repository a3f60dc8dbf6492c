#include "framework/src/process/command_line.h"

namespace obzx_pdk_4_4 {

bool splitCommandLine(std::string_view line, std::vector<std::string>& words)
{
    words.clear();
    bool quoted = false;
    bool inWord = false;
    for (const char c : line) {
        if (!quoted && (c == ' ' || c == '\t')) {
            inWord = false;
            continue;
        }
        if (!inWord) words.emplace_back();
        inWord = true;
        if (c == '"') {
            quoted = !quoted;
        } else {
            words.back() += c;
        }
    }
    if (quoted || line.find('\0') != std::string_view::npos) words.clear();
    return !words.empty();
}

}  // namespace obzx_pdk_4_4
