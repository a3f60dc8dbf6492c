#pragma once

#include <string>
#include <vector>

#include "host/src/output/result.h"

namespace fictl {

enum class ELevel
{
    OK,
    WARN,  ///< it works, and somebody should look at it
    FAIL,
};

/// One thing that was looked at, and what to do about it.
struct SCheck
{
    ELevel level = ELevel::OK;
    std::string name;  ///< what kind of thing, such as "tool"; for scripts
    std::string text;
    std::string next{};  ///< empty: nothing to do
    std::string file{};  ///< where the text has its cause; empty: not in a file
    int64_t line = 0;    ///< 0: the file as a whole
};

using Checks = std::vector<SCheck>;

/// The checks as lines for people: level, file and line, text, next step.
std::string checksText(const Checks& checks);
/// As "fictl doctor" gives them.
json doctorJson(const Checks& checks);
bool isHealthy(const Checks& checks);

}  // namespace fictl
