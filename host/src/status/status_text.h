#pragma once

#include "host/src/output/result.h"
#include "host/src/status/status.h"

namespace fictl {

/// For people; ages as of now.
std::string statusText(const SStatus& status, UtcTime now);
/// As "fictl status --output json" gives it.
json statusJson(const SStatus& status);
/**
 * For a monitoring system that keeps numbers: the text format of OpenMetrics 1.0. Every number is a gauge without a
 * time of its own, so that who reads the older text format of Prometheus understands all of it, too.
 */
std::string statusMetrics(const SStatus& status);

}  // namespace fictl
