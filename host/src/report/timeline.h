#pragma once

#include <string>

#include "host/src/report/report.h"

namespace fictl {

/// How a timeline is drawn.
struct STimelineForm
{
    size_t width = 80;     ///< columns
    bool isAscii = false;  ///< the terminal shows no more
};

/// What standard output is: its width or COLUMNS, 80 where neither tells; signs as the locale's character set has them.
STimelineForm timelineForm();

/// The lanes of a report as text: a line of marks for each group, below it one for each host that has or had copies, an
/// axis and a legend of what is there. No line is wider than the form, whose width counts as at least 40.
std::string timelineOf(const SReport& report, const STimelineForm& form);

}  // namespace fictl
