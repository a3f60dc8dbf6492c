#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace obzx_pdk_4_4 {

/// What a program can read on its standard input.
struct SInputText
{
    static constexpr size_t MOST_KEPT = size_t{64} * 1024;

    std::string start;  ///< at most MOST_KEPT bytes; empty for lack of memory, too
    uint64_t size = 0;  ///< of the whole text
};

/// Reads it from an open file, whose offset stays. Both stay empty for what cannot be read or is no regular file: what
/// would be read from a FIFO or a terminal here would be lost to the program.
void readInputText(int file, SInputText& text) noexcept;

}  // namespace obzx_pdk_4_4
