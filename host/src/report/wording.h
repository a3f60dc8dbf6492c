#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "host/src/report/report.h"

namespace fictl {

/// "complete", "copies show here", ...: what a mark stands for, for people.
const char* markText(EMark mark);
/// A word for names of styles and shapes.
const char* markWord(EMark mark);
/// "2.3 s"; empty for none.
std::string freezeText(std::chrono::microseconds frozen);
/// "13d", "-" when it is not known.
std::string ageSince(std::optional<UtcTime> time, UtcTime now);
/// "2026-01-31 12:00:00" of an instant; any other text as it is.
std::string plainTime(const std::string& time);
std::string plainTime(UtcTime time);
/// "alpha/payroll"
std::string shortGroup(const GroupKey& group);
/// "12 snapshots, oldest 13d"
std::string laneFacts(const SReportLane& lane, UtcTime now);
/// "a copy that shows", ...: what a bar stands for, for people.
const char* copyText(ECopyEnd end);
/// What a hatched space stands for.
constexpr const char* GAP_TEXT = "a scheduled run is missing";
/// "shows", "given back" or "not known"
const char* endText(ECopyEnd end);

}  // namespace fictl
