#pragma once

#include <vector>

#include "host/src/reconcile/catalog_view.h"
#include "host/src/report/report.h"

namespace fictl {

/// Times in which a run of one of this host's jobs was due and none began. Of a job whose file is not as it has to be
/// nobody knows that; where the files cannot be read at all a warning says so. To be called while a COwnerLock of the
/// catalog lives.
std::vector<SReportGap> missingRuns(const SCatalogView& catalog, UtcTime now);

}  // namespace fictl
