#include "base/temporary_file_name.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <system_error>

namespace base {

namespace {

constexpr size_t PLACE_LENGTH = 16;
constexpr size_t RANDOM_LENGTH = 6;  // as mkostemp puts them there

template <class Number>
bool takeNumber(std::string_view& text, Number& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end == text.data() + text.size() || *end != '_') return false;
    text.remove_prefix(static_cast<size_t>(end - text.data()) + 1);
    return true;
}

bool isHexDigit(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

}  // namespace

std::string processPlace(const std::string& bootId, const std::string& pidNamespace)
{
    if (bootId.empty() || pidNamespace.empty()) return {};
    uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
    // The newline is the one of the identity's file: files that are there already were marked with it.
    for (const char c : bootId + '\n' + pidNamespace) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    }
    char digits[PLACE_LENGTH + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

std::string temporaryFileMark(const STemporaryFileMaker& maker)
{
    return maker.place + "_" + std::to_string(maker.pid) + "_" + std::to_string(maker.startTime) + "_";
}

std::optional<STemporaryFileMaker> temporaryFileMaker(std::string_view name, std::string_view prefix)
{
    if (!name.starts_with(prefix)) return std::nullopt;
    name.remove_prefix(prefix.size());
    STemporaryFileMaker maker{.place = std::string(name.substr(0, PLACE_LENGTH))};
    const bool isPlace =
        maker.place.size() == PLACE_LENGTH && std::all_of(maker.place.begin(), maker.place.end(), isHexDigit);
    if (!isPlace || name.substr(PLACE_LENGTH, 1) != "_") return std::nullopt;
    name.remove_prefix(PLACE_LENGTH + 1);
    if (!takeNumber(name, maker.pid) || !takeNumber(name, maker.startTime) || name.size() != RANDOM_LENGTH) {
        return std::nullopt;
    }
    return maker.pid > 0 && maker.startTime > 0 ? std::optional(maker) : std::nullopt;
}

}  // namespace base
