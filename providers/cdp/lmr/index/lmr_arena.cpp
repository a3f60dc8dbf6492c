#include "providers/cdp/lmr/index/lmr_arena.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace cdpfi {

CLMRArena::CPlace CLMRArena::allocate(size_t size)
{
    const size_t wanted = (std::max(size, size_t{1}) + UNIT - 1) / UNIT * UNIT;
    size_t offset = BLOCK_SIZE - m_room;
    if (wanted > m_room || m_blocks.empty()) {
        if (m_blocks.size() > UINT32_MAX >> UNIT_BITS) throw std::length_error("too many records");
        m_blocks.push_back(std::make_unique_for_overwrite<char[]>(std::max(wanted, BLOCK_SIZE)));
        m_room = BLOCK_SIZE;
        offset = 0;
    }
    m_room -= std::min(wanted, m_room);
    return static_cast<CPlace>((m_blocks.size() - 1) << UNIT_BITS | offset / UNIT);
}

void CLMRArena::clear()
{
    m_blocks.clear();
    m_room = 0;
}

}  // namespace cdpfi
