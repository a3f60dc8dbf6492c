#pragma once

#include <chrono>
#include <string>

#include "host/src/text/utc_text.h"

namespace fictl {

/// By how much the local clock is ahead of UTC at an instant: that of the time zone in TZ, else of the host.
std::chrono::seconds localOffset(UtcTime time);
/// "2026-01-31", of the local calendar.
std::string localDateText(UtcTime time);
/// "13-00-00+0100": the local clock, fit for a name, with its distance from UTC.
std::string localClockText(UtcTime time);

}  // namespace fictl
