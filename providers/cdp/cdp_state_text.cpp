#include "providers/cdp/cdp_state_text.h"

namespace cdpfi {

namespace {

std::string openTagOf(std::string_view tag)
{
    return "<" + std::string(tag) + ">";
}
std::string closeTagOf(std::string_view tag)
{
    return "<" + std::string(tag) + "/>";
}

}  // namespace

STagPosition findTags(std::string_view text, std::string_view openTag, std::string_view closeTag)
{
    return {static_cast<uint32_t>(text.find(openTag)), static_cast<uint32_t>(text.find(closeTag))};
}

std::string_view taggedValue(std::string_view text, const STagPosition& position, size_t openTagLength)
{
    const uint32_t start = position.m_open + static_cast<uint32_t>(openTagLength);
    const auto length = static_cast<int32_t>(position.m_close - start);
    if (start > text.size()) return {};
    return text.substr(start, length < 0 ? std::string_view::npos : static_cast<size_t>(length));
}

void appendTag(std::string& text, std::string_view tag, std::string_view value)
{
    text.append("<").append(tag).append(">").append(value).append("<").append(tag).append("/>");
}

CString writeTag(std::string_view tag, std::string_view value)
{
    std::string text;
    appendTag(text, tag, value);
    return textOf(text);
}

CString readTag(std::string_view text, std::string_view tag)
{
    const std::string open = openTagOf(tag);
    return textOf(taggedValue(text, findTags(text, open, closeTagOf(tag)), open.size()));
}

CString createXmlTag(CString tag, CString value)
{
    return writeTag(bytesOf(tag), bytesOf(value));
}

CString getXmlTagValue(CString text, CString tag)
{
    return readTag(bytesOf(text), bytesOf(tag));
}

}  // namespace cdpfi
