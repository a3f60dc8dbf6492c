#pragma once

#include <string>
#include <string_view>

#include "host/src/report/report.h"

namespace fictl {

// Contents of page.css and page.js.
extern const std::string_view PAGE_STYLE;
extern const std::string_view PAGE_SCRIPT;

/**
 * A report as one HTML page that loads nothing: its policy forbids all but the style and the script that stand in it.
 * It is complete without the script, which only moves between marks and shows the details of one.
 */
std::string pageOf(const SReport& report, const std::string& title);

}  // namespace fictl
