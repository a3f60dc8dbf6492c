#include "host/src/commands/since.h"

#include <chrono>
#include <string_view>

#include "host/src/output/error.h"
#include "host/src/text/age_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// A day, or a time as records have it, or the beginning of one.
bool isTime(const std::string& text)
{
    constexpr std::string_view FORM = "dddd-dd-ddTdd:dd:ddZ";
    constexpr size_t DAY = 10;
    if (text.size() < DAY || text.size() > FORM.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (FORM[i] == 'd' ? !isDigit : text[i] != FORM[i]) return false;
    }
    return true;
}

}  // namespace

std::string sinceText(const std::string& given)
{
    if (given.empty() || isTime(given)) return given;
    const std::optional<std::chrono::seconds> age = ageOf(given);
    if (age) return utcSecondsText(std::chrono::system_clock::now() - *age);
    throw EFictl(EExit::USAGE, "--since: \"" + printable(given) + "\" is neither a time nor an age",
                 "give an age such as 90s, 30m, 12h or 2d, or a time such as 2026-01-31 or 2026-01-31T12:00:00Z");
}

std::optional<UtcTime> sinceTime(const std::string& given)
{
    constexpr std::string_view MIDNIGHT = "0000-00-00T00:00:00Z";
    const std::string text = sinceText(given);
    if (text.empty()) return std::nullopt;
    return utcSecondsOf(text + std::string(MIDNIGHT.substr(text.size())));
}

}  // namespace fictl
