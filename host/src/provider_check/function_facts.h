#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "framework/include/obz_entry_points.h"

namespace fictl {

/**
 * What docs/host-interface.md says about a function, written down once. Each word of the arguments is a mark and the
 * argument's name in obz_entry_points.h:
 *
 *   !  a pointer that must not be null       ?  a pointer that may be null
 *   *  a list that must not be null when the count behind it is above 0
 *   #  a number                              0  a number that must be 0
 *
 * A mark with > behind it is of an output.
 */
struct SFunctionFacts
{
    std::string_view name;
    bool isGated;
    std::string_view arguments;
};

/// In the order of the public header.
extern const std::array<SFunctionFacts, OBZX_FI_ENTRY_POINT_COUNT> FUNCTION_FACTS;

/// What a function may return for a null in the place of an argument that it needs.
bool isNullStatus(std::string_view function, std::string_view argument, int64_t status);

/// What a function may return at all.
bool isStatusOf(std::string_view function, bool isGated, int64_t status);

/// The same in words, for people: "0, 3, 5 or 6".
std::string_view statusesOf(std::string_view function, bool isGated);

}  // namespace fictl
