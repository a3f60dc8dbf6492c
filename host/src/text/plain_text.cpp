#include "host/src/text/plain_text.h"

#include <algorithm>
#include <cstdio>

namespace fictl {

namespace {

bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isOneOf(char c, std::string_view set)
{
    return set.find(c) != std::string_view::npos;
}

}  // namespace

bool isSnapshotName(std::string_view name)
{
    constexpr size_t LONGEST = 128;
    return !name.empty() && name.size() <= LONGEST && !isOneOf(name.front(), "-.") &&
           std::all_of(name.begin(), name.end(), [](char c) { return isAlphanumeric(c) || isOneOf(c, "._:+@-"); });
}

bool isProviderName(std::string_view name)
{
    constexpr size_t LONGEST = 64;
    return !name.empty() && name.size() <= LONGEST && !(name.front() >= '0' && name.front() <= '9') &&
           std::all_of(name.begin(), name.end(), [](char c) { return isAlphanumeric(c) || c == '_'; });
}

std::vector<std::string> commaSeparated(const std::vector<std::string>& texts)
{
    std::vector<std::string> parts;
    for (const std::string& text : texts) {
        for (size_t begin = 0; begin <= text.size();) {
            const size_t end = std::min(text.find(',', begin), text.size());
            parts.push_back(text.substr(begin, end - begin));
            begin = end + 1;
        }
    }
    return parts;
}

std::string counted(size_t number, const std::string& noun)
{
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

std::string secondsText(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", seconds);
    return text;
}

}  // namespace fictl
