#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace cdpfi {

/**
 * Memory for many small records, taken in large blocks: a record costs its own bytes and no allocation. Records are
 * given back all together. What is in a record is the user's; it begins at a multiple of 8 bytes and does not move.
 */
class CLMRArena
{
  public:
    /// Where a record is: four bytes, half of what a pointer takes.
    using CPlace = uint32_t;

    /// A new record. @throw std::bad_alloc, std::length_error past 32 GiB of records
    CPlace allocate(size_t size);
    char* at(CPlace place) const { return m_blocks[place >> UNIT_BITS].get() + (place & UNIT_MASK) * UNIT; }
    void clear();

  private:
    static constexpr size_t UNIT = 8;
    static constexpr unsigned UNIT_BITS = 13;  // lower bits of a place: the unit in its block; upper bits: the block
    static constexpr CPlace UNIT_MASK = (CPlace{1} << UNIT_BITS) - 1;
    static constexpr size_t BLOCK_SIZE = UNIT << UNIT_BITS;

    std::vector<std::unique_ptr<char[]>> m_blocks;  // a record larger than BLOCK_SIZE has a block of its own
    size_t m_room = 0;                              // bytes left in the last block
};

}  // namespace cdpfi
