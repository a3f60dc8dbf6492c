#include "host/src/text/shell_words.h"

#include <algorithm>

namespace fictl {

namespace {

// The options of all commands, which alone may stand before a command's words, that have their value behind them.
constexpr const char* WITH_VALUE[] = {"-o", "--output", "--provider", "--timeout", "--record"};

}  // namespace

std::vector<std::string> shellWords(const std::string& line)
{
    std::vector<std::string> words;
    bool isInside = false;
    bool isQuoted = false;
    for (size_t i = 0; i < line.size(); ++i) {
        const char character = line[i];
        if (!isQuoted && character == ' ') {
            isInside = false;
            continue;
        }
        if (!isInside) words.emplace_back();
        isInside = true;
        if (character == '\'') {
            isQuoted = !isQuoted;
        } else if (!isQuoted && character == '\\' && i + 1 < line.size()) {
            words.back() += line[++i];
        } else {
            words.back() += character;
        }
    }
    return words;
}

std::vector<std::string> separatedWords(const std::string& text, const char* separators)
{
    std::vector<std::string> words;
    for (size_t begin = 0; (begin = text.find_first_not_of(separators, begin)) != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(separators, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

std::vector<std::string> valuesOf(const std::vector<std::string>& words, const std::string& option)
{
    std::vector<std::string> values;
    for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] == option && i + 1 < words.size()) values.push_back(words[i + 1]);
        if (words[i].starts_with(option + "=")) values.push_back(words[i].substr(option.size() + 1));
    }
    return values;
}

bool hasCommand(const std::vector<std::string>& words, const std::string& group, const std::string& name)
{
    std::vector<std::string> command;
    for (size_t i = 1; i < words.size() && command.size() < 2; ++i) {
        if (!words[i].starts_with('-')) {
            command.push_back(words[i]);
        } else if (std::ranges::find(WITH_VALUE, words[i]) != std::end(WITH_VALUE)) {
            ++i;
        }
    }
    return command == std::vector<std::string>{group, name};
}

}  // namespace fictl
