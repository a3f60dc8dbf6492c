#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/src/text/utc_text.h"

namespace fictl {

/// A time that a picture names.
struct STick
{
    UtcTime time;
    std::string text;  ///< "31 Jan 12:00", "31 Jan", "Jan 2026" or "2026", in UTC
};

/// Round times within a period, evenly spaced as the calendar has it: as many as there may be, or fewer.
std::vector<STick> ticksOf(UtcTime from, UtcTime until, size_t most);

}  // namespace fictl
