#pragma once

#include <optional>
#include <string>

#include "host/src/text/utc_text.h"

namespace fictl {

/// The value of --since, an age such as 2d or a time in UTC such as 2026-01-31 or 2026-01-31T12:00:00Z, as a time or
/// the beginning of one; empty for none. Throws EFictl (USAGE).
std::string sinceText(const std::string& given);
/// The same as an instant.
std::optional<UtcTime> sinceTime(const std::string& given);

}  // namespace fictl
