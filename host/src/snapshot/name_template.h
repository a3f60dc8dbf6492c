#pragma once

#include <chrono>
#include <functional>
#include <set>
#include <string>

#include "host/src/text/utc_text.h"

namespace fictl {

/// What the fields of a name stand for.
struct SNameFields
{
    UtcTime now{};
    std::string host{};
    /// Names that are taken; asked for only where the name has a number.
    std::function<std::set<std::string>()> taken{};
};

/// Whether the name has a number, so that it is always one that is free.
bool hasNumber(const std::string& name);

/**
 * The name with its fields filled in:
 *
 *     {date}  2026-01-31        of the local calendar (TZ, else the host's)
 *     {time}  13-00-00+0100     the local clock with its distance from UTC, which tells the hour that comes twice
 *     {host}  payroll           the host's name up to its first dot
 *     {n}     1                 one more than the highest number of a name that is alike otherwise
 *
 * A name without a brace stays as it is. Throws EFictl (USAGE) for any other brace, since no name holds one, and for a
 * second {n}; whether what comes of it can be a snapshot's name is not looked at.
 */
std::string filledName(const std::string& name, const SNameFields& fields);

}  // namespace fictl
