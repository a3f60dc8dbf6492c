#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <span>

namespace base {

/// Waits until one of the descriptors is ready or the time has come; a negative one is not watched. May return before,
/// such as for a signal.
/// @param until time_point::max(): for ever
/// @return how many are ready, as poll tells in their revents; negative, with errno set, when it could not wait
inline int pollUntil(std::span<pollfd> watched, std::chrono::steady_clock::time_point until) noexcept
{
    using std::chrono::milliseconds;
    using Clock = std::chrono::steady_clock;
    const Clock::time_point now = Clock::now();
    milliseconds left(-1);  // for ever
    if (until <= now) {
        left = milliseconds(0);
    } else if (until != Clock::time_point::max()) {
        left = std::min(std::chrono::ceil<milliseconds>(until - now), milliseconds(INT_MAX));
    }
    return ::poll(watched.data(), watched.size(), static_cast<int>(left.count()));
}

}  // namespace base
