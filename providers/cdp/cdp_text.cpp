#include "providers/cdp/cdp_text.h"

#include <string>

namespace cdpfi {

CString join(std::initializer_list<std::string_view> pieces)
{
    size_t size = 0;
    for (const std::string_view piece : pieces) {
        size += piece.size();
    }
    std::string whole;
    whole.reserve(size);
    for (const std::string_view piece : pieces) {
        whole += piece;
    }
    return textOf(whole);
}

}  // namespace cdpfi
