#pragma once

#include <string>

#include "base/sqlite.h"

namespace fictl {

/// The bytes of a catalog's file that holds no record yet.
std::string emptyCatalog();

/**
 * Brings the tables to the layout of this fictl. What the file held under the former one is kept beside it first:
 * PATH.version-3.bak (or whichever it was), whole, on disk, for its owner only; one that is there already and differs
 * stays, and another name is taken. Standard error tells of that. Throws EFictl (CATALOG) for a file of a layout that
 * this fictl does not know, and as base::CSqliteDatabase does.
 */
void bringUpToDate(base::CSqliteDatabase& database, const std::string& path);

/// Lets the tables read as if they had the layout of this fictl; the file stays as it is. Throws as above.
void readAsUpToDate(base::CSqliteDatabase& database, const std::string& path);

}  // namespace fictl
