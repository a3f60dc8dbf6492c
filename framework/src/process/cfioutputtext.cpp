#include "framework/include/cfioutputtext.h"

#include <algorithm>

#include "framework/src/process/line_ends.h"

namespace obzx_pdk_4_4 {

std::string CFiOutputText::start(size_t most) const
{
    const size_t size = std::min(most, m_size);
    std::string text;
    text.reserve(size);
    while (text.size() < size) {
        text += restOfBlock(text.size()).substr(0, size - text.size());
    }
    return text;
}

size_t CFiOutputText::countLines() const
{
    size_t count = 0;
    bool isBegun = false;
    for (size_t begin = m_taken; begin < m_size;) {
        const std::string_view rest = restOfBlock(begin);
        begin += rest.size();
        isBegun = rest.back() != '\n';
        count += countLineEnds(rest);
    }
    return count + (isBegun ? 1 : 0);
}

size_t CFiOutputText::takeLines(std::span<std::string_view> lines)
{
    freeTaken();
    size_t count = 0;
    while (count < lines.size() && m_taken < m_size) {
        lines[count++] = takeLine();
    }
    return count;
}

void CFiOutputText::appendLinesTo(std::vector<std::string>& lines)
{
    for (std::string_view line; takeLines({&line, 1}) > 0;) {
        lines.emplace_back(line);
    }
}

std::span<char> CFiOutputText::room()
{
    if (m_size == m_blocks.size() * BLOCK_SIZE) m_blocks.push_back(std::make_unique_for_overwrite<char[]>(BLOCK_SIZE));
    const size_t used = m_size % BLOCK_SIZE;
    return {m_blocks.back().get() + used, BLOCK_SIZE - used};
}

void CFiOutputText::append(std::string_view text)
{
    while (!text.empty()) {
        const std::span<char> free = room();
        const size_t count = text.copy(free.data(), free.size());
        extend(count);
        text.remove_prefix(count);
    }
}

void CFiOutputText::cut(size_t size)
{
    m_size = std::min(m_size, size);
    m_blocks.resize((m_size + BLOCK_SIZE - 1) / BLOCK_SIZE);
}

std::string_view CFiOutputText::restOfBlock(size_t begin) const
{
    const size_t offset = begin % BLOCK_SIZE;
    return {m_blocks[begin / BLOCK_SIZE].get() + offset, std::min(BLOCK_SIZE - offset, m_size - begin)};
}

std::string_view CFiOutputText::takeLine()
{
    const std::string_view rest = restOfBlock(m_taken);
    const size_t end = std::min(rest.find('\n'), rest.size());
    m_taken += std::min(end + 1, rest.size());
    const bool goesOn = end == rest.size() && m_taken < m_size;
    return goesOn ? takeLongLine(rest) : rest.substr(0, end);
}

std::string_view CFiOutputText::takeLongLine(std::string_view start)
{
    std::string& line = m_long.emplace_back(start);
    while (m_taken < m_size) {
        const std::string_view rest = restOfBlock(m_taken);
        const size_t end = std::min(rest.find('\n'), rest.size());
        line.append(rest.substr(0, end));
        m_taken += std::min(end + 1, rest.size());
        if (end < rest.size()) break;
        if (rest.size() == BLOCK_SIZE) m_blocks[m_taken / BLOCK_SIZE - 1].reset();  // nobody else has a line of it
    }
    return line;
}

void CFiOutputText::freeTaken()
{
    m_long.clear();
    for (; m_freed < m_taken / BLOCK_SIZE; ++m_freed) {
        m_blocks[m_freed].reset();
    }
}

}  // namespace obzx_pdk_4_4
