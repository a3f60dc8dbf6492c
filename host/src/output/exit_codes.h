#pragma once

#include <span>

namespace fictl {

/// Exit codes of fictl; a script may rely on the numbers.
enum class EExit : int
{
    OK = 0,
    INTERNAL = 1,
    USAGE = 2,
    NOT_FOUND = 3,
    EXISTS = 4,
    STATE = 5,
    PROVIDER = 6,
    NOT_CLAIMED = 7,
    FAILED = 8,
    PARTIAL = 9,
    NOT_DELETED = 10,
    CATALOG = 11,
    HOOK = 12,
    BAD_RECORD = 13,
    IO = 14,
    STOPPED = 15,
};

struct SExitCode
{
    EExit code;
    const char* name;     ///< as it stands in the error document of --output json
    const char* meaning;  ///< one line
};

/// Every exit code, in order of the numbers.
std::span<const SExitCode> exitCodes();
/// Name of one code.
const char* exitName(EExit code);

}  // namespace fictl
