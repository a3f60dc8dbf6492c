#include "host/src/text/local_time.h"

#include <array>
#include <ctime>

namespace fictl {

namespace {

std::tm localParts(UtcTime time)
{
    const std::time_t seconds = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    return parts;
}

}  // namespace

std::chrono::seconds localOffset(UtcTime time)
{
    return std::chrono::seconds(localParts(time).tm_gmtoff);
}

std::string localDateText(UtcTime time)
{
    const std::tm parts = localParts(time);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts)};
}

std::string localClockText(UtcTime time)
{
    const std::tm parts = localParts(time);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%H-%M-%S%z", &parts)};
}

}  // namespace fictl
