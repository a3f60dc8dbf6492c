#pragma once

#include <string>

#include "host/src/report/report.h"

namespace fictl {

/// Sections with a table each of all that the picture shows, for readers who do not see it and for details. Rows are
/// found by "s" or, of an orphan, "o" and the place in the report.
std::string tablesMarkup(const SReport& report);

}  // namespace fictl
