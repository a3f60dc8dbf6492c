#include "providers/cdp/cdp_text.h"

namespace cdpfi {

CString textOf(std::string_view bytes)
{
    return {bytes.data(), bytes.size()};
}

CString restFrom(const CString& text, size_t offset)
{
    const std::string_view bytes = viewOf(text);
    return offset < bytes.size() ? textOf(bytes.substr(offset)) : CString();
}

}  // namespace cdpfi
