#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/// Something in which two records differ.
struct SDifference
{
    std::string what;  ///< "state", "created", "made at", "group", "LUN", "label", ...
    std::string of{};  ///< which of several: "alpha/payroll", a label's key; empty where there is but one
    std::optional<std::string> one{};  ///< what the first has; nothing when it has none
    std::optional<std::string> other{};
};

/// What is in one record and not, or not so, in the other: state, times, origin and note; groups, LUNs and labels.
std::vector<SDifference> differencesOf(const SSnapshot& one, const SSnapshot& other);

}  // namespace fictl
