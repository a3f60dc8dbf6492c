#pragma once

#include <set>
#include <string>
#include <vector>

#include "host/src/catalog/record_rows.h"
#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/// Which records are meant: those that fit each part that says something.
struct SRecordFilter
{
    std::set<std::string> states{};      ///< as they are shown; one of them
    std::vector<SLabelFilter> labels{};  ///< all of them
    std::set<std::string> groups{};      ///< "group" or "appliance/group"; one of them

    bool matches(const SSnapshot& snapshot) const;
    /// What it needs of a record.
    ERecordParts parts() const { return labels.empty() ? ERecordParts::OUTLINE : ERecordParts::OF_LISTS; }
};

/// States of texts "complete,imported". Throws EFictl (USAGE) that names the known ones.
std::set<std::string> parseStates(const std::vector<std::string>& texts);

}  // namespace fictl
