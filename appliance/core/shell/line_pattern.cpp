#include "appliance/core/shell/line_pattern.h"

#include <algorithm>
#include <charconv>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

enum class EPlace : uint8_t
{
    KEYWORD,
    QUOTED_NAME,
    ANY_WORD,
    SECONDS,
    CHOICE
};

EPlace placeOf(std::string_view word)
{
    if (word.front() == '"') return EPlace::QUOTED_NAME;
    if (word == "N") return EPlace::SECONDS;
    if (word.find('|') != std::string_view::npos) return EPlace::CHOICE;
    const bool isCapital = std::all_of(word.begin(), word.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return isCapital ? EPlace::ANY_WORD : EPlace::KEYWORD;
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

bool fits(std::string_view expected, const SWord& word)
{
    switch (placeOf(expected)) {
        case EPlace::QUOTED_NAME:
            return word.quoted;
        case EPlace::CHOICE: {
            const std::vector<std::string_view> choices = split(expected, '|');
            return !word.quoted && std::find(choices.begin(), choices.end(), word.text) != choices.end();
        }
        case EPlace::KEYWORD:
            return !word.quoted && word.text == expected;
        case EPlace::ANY_WORD:
        case EPlace::SECONDS:
            break;
    }
    return true;
}

}  // namespace

std::optional<std::vector<std::string>> matchLine(std::string_view pattern, const SScriptLine& line)
{
    const std::vector<std::string_view> expected = split(pattern, ' ');
    if (!std::equal(expected.begin(), expected.end(), line.words.begin(), line.words.end(), fits)) return std::nullopt;
    std::vector<std::string> values;
    for (size_t i = 0; i < expected.size(); ++i) {
        const EPlace place = placeOf(expected[i]);
        const std::string& word = line.words[i].text;
        if (place == EPlace::SECONDS && !parseSeconds(word)) {
            throwMalformed(line.number,
                           std::string(expected[i - 1]) + " " + inQuotes(word) + " is not a number of seconds");
        }
        if (place != EPlace::KEYWORD) values.push_back(word);
    }
    return values;
}

std::string fillIn(std::string_view pattern, const std::vector<std::string>& values)
{
    std::string line;
    auto value = values.begin();
    for (const std::string_view word : split(pattern, ' ')) {
        const EPlace place = placeOf(word);
        const bool isQuoted = place == EPlace::QUOTED_NAME || place == EPlace::ANY_WORD;
        line += line.empty() ? "" : " ";
        line += place == EPlace::KEYWORD ? std::string(word) : isQuoted ? inQuotes(*value++) : *value++;
    }
    return line;
}

std::string keywordsOf(std::string_view pattern)
{
    std::string keywords;
    for (const std::string_view word : split(pattern, ' ')) {
        if (placeOf(word) != EPlace::KEYWORD) break;
        keywords += (keywords.empty() ? "" : " ") + std::string(word);
    }
    return keywords;
}

std::optional<uint32_t> parseSeconds(std::string_view text)
{
    uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::make_optional(number) : std::nullopt;
}

}  // namespace lumora
