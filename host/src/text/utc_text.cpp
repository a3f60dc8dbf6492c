#include "host/src/text/utc_text.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace fictl {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

// Nanoseconds reach from 1677 to 2262, and the distance of any two of these times is to be one, too.
constexpr sys_days EARLIEST = 1970y / 1 / 1;
constexpr sys_days LATEST = 2200y / 1 / 1;

std::string upToSeconds(UtcTime time)
{
    const std::time_t whole = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
    std::tm parts = {};
    gmtime_r(&whole, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts)};
}

}  // namespace

std::string utcText(UtcTime time)
{
    constexpr int64_t A_MILLION = 1'000'000;
    const auto fraction = time - std::chrono::floor<std::chrono::seconds>(time);
    const int64_t micros = std::chrono::duration_cast<std::chrono::microseconds>(fraction).count();
    return upToSeconds(time) + "." + std::to_string(A_MILLION + micros).substr(1) + "Z";
}

std::string utcSecondsText(UtcTime time)
{
    return upToSeconds(time) + "Z";
}

bool isInstantText(std::string_view text)
{
    constexpr std::string_view FORM = "dddd-dd-ddTdd:dd:dd";
    if (text.size() <= FORM.size() || text.back() != 'Z') return false;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    for (size_t i = 0; i < FORM.size(); ++i) {
        if (FORM[i] == 'd' ? !isDigit(text[i]) : text[i] != FORM[i]) return false;
    }
    const std::string_view fraction(text.data() + FORM.size(), text.size() - FORM.size() - 1);
    return fraction.empty() || (fraction.size() > 1 && fraction.front() == '.' &&
                                std::all_of(fraction.begin() + 1, fraction.end(), isDigit));
}

std::optional<UtcTime> utcSecondsOf(const std::string& text)
{
    std::tm parts = {};
    const char* const end = isInstantText(text) ? strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts) : nullptr;
    if (end == nullptr) return std::nullopt;
    const std::chrono::sys_seconds time{std::chrono::seconds(timegm(&parts))};
    if (time < EARLIEST || time >= LATEST) return std::nullopt;
    return time;
}

}  // namespace fictl
