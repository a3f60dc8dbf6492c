#include "providers/cdp/cdp_text.h"

#include <new>
#include <string>

namespace cdpfi {

CString textOf(std::string_view bytes)
{
    CString text(bytes.data(), bytes.size());
    if (text.length() != bytes.size()) throw std::bad_alloc();
    return text;
}

void assign(CString& field, const CString& value)
{
    field = value;
    if (bytesOf(field) != bytesOf(value)) throw std::bad_alloc();
}

CString join(std::initializer_list<std::string_view> pieces)
{
    std::string whole;
    for (const std::string_view piece : pieces)
        whole += piece;
    return textOf(whole);
}

CString restFrom(const CString& text, size_t offset)
{
    const std::string_view bytes = bytesOf(text);
    return offset < bytes.size() ? textOf(bytes.substr(offset)) : CString();
}

}  // namespace cdpfi
