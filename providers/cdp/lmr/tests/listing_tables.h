#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cdpfi {

using CListingLines = std::vector<std::string>;

/// A text and what a reader of listings makes of it.
struct SListingCase
{
    std::string text;
    std::string result;
};

/// The lines as a tool's output arrives: without line ends, a last line without one counts.
inline CListingLines toListingLines(std::string_view text)
{
    CListingLines lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace cdpfi
