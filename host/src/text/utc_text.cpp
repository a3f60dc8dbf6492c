#include "host/src/text/utc_text.h"

#include <array>
#include <ctime>

namespace fictl {

namespace {

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

}  // namespace fictl
