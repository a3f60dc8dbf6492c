#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/**
 * What a program wrote, to be taken line by line. The text is kept in blocks, so that a long one is neither copied
 * while it grows nor held as a whole beside what is made of its lines. A last line without its end counts. One thread
 * at a time.
 */
class OBZX_API CFiOutputText
{
  public:
    /// Bytes of the whole text.
    size_t size() const { return m_size; }
    /// The first bytes, at most so many; of a text of which no line was taken. @throw std::bad_alloc
    std::string start(size_t most) const;
    /// Lines that were not taken yet.
    size_t countLines() const;
    /// Takes the next lines, as many as there is place for, without their ends. They stay valid until the next call.
    /// @return how many; fewer than there is place for at the end of the text. @throw std::bad_alloc
    size_t takeLines(std::span<std::string_view> lines);
    /// Takes all lines that are left, as copies at the end of a list. @throw std::bad_alloc
    void appendLinesTo(std::vector<std::string>& lines);

    /// Room behind the text, at least one byte. @throw std::bad_alloc
    std::span<char> room();
    /// The first bytes of the room belong to the text now.
    void extend(size_t count) { m_size += count; }
    /// @throw std::bad_alloc
    void append(std::string_view text);
    /// Drops what is behind the first bytes.
    void cut(size_t size);

  private:
    static constexpr size_t BLOCK_SIZE = size_t{64} * 1024;

    std::string_view restOfBlock(size_t begin) const;
    std::string_view takeLine();
    std::string_view takeLongLine(std::string_view start);
    void freeTaken();

    std::vector<std::unique_ptr<char[]>> m_blocks;  // all but the last one are full; null for those that were taken
    size_t m_size = 0;
    size_t m_taken = 0;             // bytes
    size_t m_freed = 0;             // blocks
    std::list<std::string> m_long;  // taken lines that go on in another block
};

}  // namespace obzx_pdk_4_4
