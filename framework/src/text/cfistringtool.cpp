#include "framework/include/cfistringtool.h"

#include <new>

namespace obzx_pdk_4_4 {

void CFiStringTool::tokenize(std::vector<std::string>& pieces, std::string_view text, std::string_view separators)
{
    size_t begin = text.find_first_not_of(separators);
    while (begin != std::string_view::npos) {
        const size_t end = text.find_first_of(separators, begin);
        pieces.emplace_back(text.substr(begin, end - begin));
        if (end == std::string_view::npos) return;
        begin = text.find_first_not_of(separators, end);
    }
}

std::vector<std::string> CFiStringTool::tokenize(std::string_view text, std::string_view separators)
{
    std::vector<std::string> pieces;
    tokenize(pieces, text, separators);
    return pieces;
}

std::string CFiStringTool::trim(std::string_view text, std::string_view characters)
{
    const size_t begin = text.find_first_not_of(characters);
    if (begin == std::string_view::npos) return {};
    return std::string(text.substr(begin, text.find_last_not_of(characters) - begin + 1));
}

int CFiStringTool::find(const std::vector<std::string>& lines, std::string_view marker, int& index, int start)
{
    index = -1;
    for (size_t i = start < 0 ? 0 : static_cast<size_t>(start); i < lines.size(); ++i) {
        if (lines[i].find(marker) != std::string::npos) {
            index = static_cast<int>(i);
            break;
        }
    }
    return index;
}

ACE_String_Base<char> CFiStringTool::str2tstr(const std::string& text)
{
    ACE_String_Base<char> copy(text.data(), text.size());
    if (copy.length() != text.size()) throw std::bad_alloc();
    return copy;
}

std::string CFiStringTool::tstr2str(const ACE_String_Base<char>& text)
{
    return {text.fast_rep(), text.length()};
}

std::string CFiStringTool::tostrupper(const std::string& text)
{
    std::string upper = text;
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

std::string CFiStringTool::int2str(int64_t number)
{
    return std::to_string(number);
}

}  // namespace obzx_pdk_4_4
