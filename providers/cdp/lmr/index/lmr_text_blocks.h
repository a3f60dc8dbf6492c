#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace cdpfi {

/// Keeps texts where they do not move, in few blocks: a text that room was made for costs no allocation.
class CLMRTextBlocks
{
  public:
    /// Bytes that a text takes.
    static constexpr size_t roomFor(std::string_view text) { return text.size() + 1; }

    /// Makes room for texts of so many bytes.
    void reserve(size_t bytes);
    /// The text as it is kept, with a NUL behind it; valid as long as this is. @throw std::bad_alloc
    std::string_view keep(std::string_view text);

  private:
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_free = nullptr;  // in the last block
    size_t m_room = 0;
};

}  // namespace cdpfi
