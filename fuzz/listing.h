#pragma once

#include "base/tests/text_file.h"
#include "framework/include/cfioutputtext.h"
#include "fuzz/fuzz.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/tests/answers.h"

namespace fuzz {

/// The lines of a tool's output, as the runtime hands them to a parser.
inline std::vector<std::string> linesOf(const uint8_t* data, size_t size)
{
    std::vector<std::string> lines;
    obzx_pdk_4_4::CFiOutputText text;
    text.append(textOf(data, size));
    text.appendLinesTo(lines);
    return lines;
}

/// What is read from a listing lies in it and has no blanks around it.
inline void requireRead(std::string_view value, const std::vector<std::string>& lines)
{
    require(isWithin(value, lines), "what was read lies within a line");
    require(cdpfi::trimBlanks(value) == value, "what was read has no blanks around it");
}

}  // namespace fuzz
