// The splitter of command lines.
#include "framework/src/process/command_line.h"

#include <algorithm>

#include "fuzz/fuzz.h"

using fuzz::require;
using obzx_pdk_4_4::splitCommandLine;

namespace {

// The characters that words are made of: all but the quotes and the blanks outside them.
std::string charactersOf(std::string_view line)
{
    std::string kept;
    bool quoted = false;
    for (const char c : line) {
        quoted ^= c == '"';
        if (c != '"' && (quoted || (c != ' ' && c != '\t'))) kept += c;
    }
    return kept;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view line = fuzz::textOf(data, size);
    std::vector<std::string> words{"left over"};
    const bool split = splitCommandLine(line, words);
    const bool closed = std::count(line.begin(), line.end(), '"') % 2 == 0;
    const bool empty = line.find_first_not_of(" \t") == std::string_view::npos;
    require(split == (closed && !empty && line.find('\0') == std::string_view::npos),
            "what cannot be split is refused");
    require(split == !words.empty(), "a line that is refused has no words");
    if (!split) return 0;

    std::string all;
    std::string quoted;
    for (const std::string& word : words) {
        all += word;
        quoted += " \"" + word + "\"";
    }
    require(all == charactersOf(line), "no character is lost, added or moved");
    std::vector<std::string> again;
    require(splitCommandLine(quoted, again) && again == words, "words that are written are read back the same");
    return 0;
}
