#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

struct SWord
{
    std::string text;
    bool quoted = false;
};

/// One line of a script that holds anything, with its number from 1.
struct SScriptLine
{
    size_t number = 0;
    std::vector<SWord> words;
};

/// Throws status malformed with "line N: " before the reason.
[[noreturn]] void throwMalformed(size_t line, const std::string& why);

/// Splits a script into lines of words. Refuses control characters and quotes that are not closed.
std::vector<SScriptLine> splitScript(std::string_view text);

}  // namespace lumora
