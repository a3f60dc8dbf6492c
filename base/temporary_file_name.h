#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace base {

/**
 * The process that made a temporary file, as the file's name tells it:
 *
 *     prefix place "_" process-id "_" start-time "_" six characters
 *
 * Process ids mean the same only within one run of a machine and one namespace: that is the place, 16 hexadecimal
 * digits.
 */
struct STemporaryFileMaker
{
    std::string place;
    pid_t pid = 0;
    uint64_t startTime = 0;  ///< clock ticks since the start of the machine

    bool operator==(const STemporaryFileMaker&) const = default;
};

/// The place of a run of the machine and a namespace of process ids; empty when one of the two is not known.
std::string processPlace(const std::string& bootId, const std::string& pidNamespace);
/// What the names of its files hold between their prefix and the six characters.
std::string temporaryFileMark(const STemporaryFileMaker& maker);
/// Nothing for a name of another form.
std::optional<STemporaryFileMaker> temporaryFileMaker(std::string_view name, std::string_view prefix);

}  // namespace base
