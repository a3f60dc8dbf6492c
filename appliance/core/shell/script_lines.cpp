#include "appliance/core/shell/script_lines.h"

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

bool isBlank(char c) noexcept
{
    return c == ' ' || c == '\t';
}

bool isControl(char c) noexcept
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

std::vector<SWord> splitLine(std::string_view line, size_t number)
{
    std::vector<SWord> words;
    size_t at = 0;
    for (;;) {
        while (at < line.size() && isBlank(line[at])) {
            ++at;
        }
        if (at == line.size()) return words;
        SWord word;
        word.quoted = line[at] == '"';
        at += word.quoted ? 1 : 0;
        while (at < line.size() && line[at] != '"' && (word.quoted || !isBlank(line[at]))) {
            if (isControl(line[at])) throwMalformed(number, "control character in the line");
            word.text += line[at++];
        }
        if (word.quoted) {
            if (at == line.size()) throwMalformed(number, "the quote is not closed");
            ++at;
        }
        if (at < line.size() && !isBlank(line[at])) {
            throwMalformed(number, word.quoted ? "text right after a closing quote" : "a quote inside a word");
        }
        words.push_back(std::move(word));
    }
}

}  // namespace

void throwMalformed(size_t line, const std::string& why)
{
    throw EApplianceError(EStatus::MALFORMED, "line " + std::to_string(line) + ": " + why);
}

std::vector<SScriptLine> splitScript(std::string_view text)
{
    std::vector<SScriptLine> lines;
    for (size_t number = 1; !text.empty(); ++number) {
        const size_t end = text.find('\n');
        std::vector<SWord> words = splitLine(text.substr(0, end), number);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (!words.empty()) lines.push_back({number, std::move(words)});
    }
    return lines;
}

}  // namespace lumora
