#include "providers/cdp/lmr/index/lmr_text_blocks.h"

namespace cdpfi {

void CLMRTextBlocks::reserve(size_t bytes)
{
    if (bytes <= m_room) return;
    m_blocks.push_back(std::make_unique_for_overwrite<char[]>(bytes));
    m_free = m_blocks.back().get();
    m_room = bytes;
}

std::string_view CLMRTextBlocks::keep(std::string_view text)
{
    reserve(roomFor(text));
    char* const kept = m_free;
    kept[text.copy(kept, text.size())] = '\0';
    m_free += roomFor(text);
    m_room -= roomFor(text);
    return {kept, text.size()};
}

}  // namespace cdpfi
