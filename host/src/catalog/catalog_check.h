#pragma once

#include <string>
#include <vector>

#include "base/sqlite.h"

namespace fictl {

/// Something in a catalog that cannot be as it is.
struct SProblem
{
    std::string table{};   ///< empty: of the file as a whole
    std::string row{};     ///< name of the snapshot, for a device with "/" and its position; number of an entry of the
                           ///< history, for a part of it with "/" and its position; empty: of no row
    std::string column{};  ///< empty: of the row as a whole
    std::string text;
};

struct SCatalogState
{
    size_t records = 0;
    size_t devices = 0;
    size_t entries = 0;  ///< of the history
    std::vector<SProblem> problems{};
};

/**
 * Looks at all of a catalog: SQLite's own check of the file, each value of each row by itself, whether devices and
 * snapshots belong together, and whether each record agrees with itself. One row that cannot be read keeps no other
 * from being looked at. Throws base::ESqlite where not even the names of the records can be read.
 */
SCatalogState checkContent(const base::CSqliteDatabase& database);

}  // namespace fictl
