#include "providers/cdp/cdp_text.h"

#include <string>

namespace cdpfi {

CString join(std::initializer_list<std::string_view> pieces)
{
    std::string whole;
    for (const std::string_view piece : pieces) {
        whole += piece;
    }
    return textOf(whole);
}

}  // namespace cdpfi
