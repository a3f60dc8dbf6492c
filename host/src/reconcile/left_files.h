#pragma once

#include <string>

#include "host/src/reconcile/catalog_view.h"
#include "host/src/reconcile/found_object.h"

namespace fictl {

/**
 * What commands have left of files: FILE.part of what they were writing, beside the catalog and where a command of the
 * history was to write, and the scripts of tools in the temporary folder. A file is an orphan when an entry of the
 * history of this host, whose process is gone, was to write this very path (or, of a script, stands in its name) and
 * the file began when that command did; the form of a name is no proof.
 */
void judgeLeftFiles(const SCatalogView& catalog, const CUnderWay& underWay, const std::string& host,
                    const std::string& temporaryFolder, SReconciliation& found);

/// Takes such a file away, when it is a regular one of this user alone, nobody is writing it, and it is of that time.
/// Empty when it is gone, else why it is not.
std::string removeLeftFile(const std::string& path, const std::string& time);

}  // namespace fictl
