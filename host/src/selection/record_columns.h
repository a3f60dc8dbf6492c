#pragma once

#include <string>
#include <vector>

#include "host/src/catalog/record_rows.h"
#include "host/src/catalog/snapshot_record.h"
#include "host/src/text/utc_text.h"

namespace fictl {

/// What can be shown of a snapshot in a list, and what a list can be sorted by.
struct SRecordColumn
{
    const char* name;     ///< as it is given on the command line
    const char* heading;  ///< as it stands in the table
    ERecordParts parts;   ///< what it needs of a record
    std::string (*text)(const SSnapshot& snapshot, UtcTime now);
    /// What a list is sorted by, as people count; null for the text.
    std::string (*order)(const SSnapshot& snapshot) = nullptr;
    bool isBackwards = false;  ///< the order is the other way round: the oldest has the greatest age
};

/// How a list is laid out.
using RecordColumns = std::vector<const SRecordColumn*>;

/// "name,state,...", for messages.
std::string knownColumns();
/// Of texts "name,state". Throws EFictl (USAGE) that names the known ones.
RecordColumns parseColumns(const std::vector<std::string>& texts);

/// What a list is sorted by.
struct SSortKey
{
    const SRecordColumn* column = nullptr;
    bool isDescending = false;
};

/// Of texts "state,-created", the first one counting most. Throws EFictl (USAGE).
std::vector<SSortKey> parseSortKeys(const std::vector<std::string>& texts);

/// What gives a record its place in a sorted list: by the keys, and by the name where all of them are equal.
using SortPlace = std::vector<std::string>;
SortPlace sortPlaceOf(const SSnapshot& snapshot, const std::vector<SSortKey>& keys);
/// Whether one comes before the other, both of these keys.
bool comesBefore(const SortPlace& one, const SortPlace& other, const std::vector<SSortKey>& keys);

/// "alpha/payroll,alpha/books" in order of the names.
std::string groupNames(const SSnapshot& snapshot);

}  // namespace fictl
