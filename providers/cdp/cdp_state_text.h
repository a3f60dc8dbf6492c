#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * Tagged values, as the state of a node and the names of target devices hold them. There is no escaping and no check
 * for presence: positions are 32-bit numbers, and one of a tag that is not there is 0xFFFFFFFF.
 */

/// Where a value stands in a text.
struct STagPosition
{
    uint32_t m_open;   ///< of the first open tag; 0xFFFFFFFF: not there
    uint32_t m_close;  ///< of the first close tag, wherever it stands; 0xFFFFFFFF: not there
};

/// The first open and the first close tag of a text; neither needs to belong to the other.
STagPosition findTags(std::string_view text, std::string_view openTag, std::string_view closeTag);

/**
 * The text from behind the open tag up to the close tag, with arithmetic in 32 bits that wraps: a negative length means
 * up to the end of the text, a start past the end gives nothing. So a value without its close tag is the rest of the
 * text, and with both tags missing the value is the text from (length of the open tag - 1) on.
 */
std::string_view taggedValue(std::string_view text, const STagPosition& position, size_t openTagLength);

/// "<tag>value<tag/>". The name before the slash in the closing part is what readTag looks for.
CString writeTag(std::string_view tag, std::string_view value);
/// The same behind what a text holds.
void appendTag(std::string& text, std::string_view tag, std::string_view value);
/// The first value of a tag that writeTag wrote.
CString readTag(std::string_view text, std::string_view tag);

/// writeTag and readTag for texts by value. A copy for which there was no memory arrives empty, and is taken as it is.
CString createXmlTag(CString tag, CString value);
CString getXmlTagValue(CString text, CString tag);

}  // namespace cdpfi
