#include "providers/cdp/cdp_state_text.h"

#include "providers/cdp/cdp_text.h"

namespace cdpfi {

namespace {

CString openTagOf(const CString& tag)
{
    return join({"<", bytesOf(tag), ">"});
}
CString closeTagOf(const CString& tag)
{
    return join({"<", bytesOf(tag), "/>"});
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

CString createXmlTag(CString tag, CString value)
{
    return join({bytesOf(openTagOf(tag)), bytesOf(value), bytesOf(closeTagOf(tag))});
}

CString getXmlTagValue(CString text, CString tag)
{
    const CString open = openTagOf(tag);
    const std::string_view bytes = bytesOf(text);
    return textOf(taggedValue(bytes, findTags(bytes, bytesOf(open), bytesOf(closeTagOf(tag))), open.length()));
}

}  // namespace cdpfi
