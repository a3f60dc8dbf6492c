#include "providers/cdp/lmr/listings/lmr_text.h"

#include <algorithm>

namespace cdpfi {

std::vector<std::string> allPieces(std::string_view text, const CLMRSeparators& separators)
{
    std::vector<std::string> pieces;
    CLMRPieceCursor cursor(text, separators);
    for (std::string_view piece; cursor.next(piece);) {
        pieces.emplace_back(piece);
    }
    return pieces;
}

std::string_view trimBlanks(std::string_view text)
{
    static constexpr CLMRSeparators BLANKS(LMR_BLANKS);
    while (!text.empty() && BLANKS.contains(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && BLANKS.contains(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::vector<std::string_view> viewsOf(const std::vector<std::string>& texts)
{
    return {texts.begin(), texts.end()};
}

std::string joinTexts(const std::vector<std::string>& texts, std::string_view separator)
{
    return joinTexts(viewsOf(texts), separator);
}

std::string joinTexts(std::span<const std::string_view> texts, std::string_view separator, size_t most)
{
    std::string joined;
    for (const std::string_view& text : texts) {
        if (&text != &texts.front()) joined.append(separator);
        const bool fits = text.size() <= most - std::min(joined.size(), most);
        joined.append(text.substr(0, most));
        if (fits) continue;
        joined.resize(most);
        return joined + " ...";
    }
    return joined;
}

void appendTo(std::vector<CString>& texts, std::string_view text)
{
    texts.emplace_back(text.data(), text.size());
    if (bytesOf(texts.back()) == text) return;
    texts.pop_back();
    throw std::bad_alloc();
}

}  // namespace cdpfi
