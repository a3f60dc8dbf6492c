#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/include/cfiexecpipe.h"

namespace cdpfi {

/// How a bound is configured, beside the tools.
struct SLMRBoundSetting
{
    const char* key;
    long byDefault;
    long least;  ///< what is set below that counts as this
};
inline constexpr SLMRBoundSetting LMR_MAX_ANSWER_SIZE = {"MAX_ANSWER_SIZE", 256L * 1024 * 1024, 64L * 1024};
inline constexpr SLMRBoundSetting LMR_MAX_ANSWER_LINES = {"MAX_ANSWER_LINES", 4'000'000, 1};
inline constexpr SLMRBoundSetting LMR_MAX_LINE_LENGTH = {"MAX_LINE_LENGTH", 4L * 1024 * 1024, 64L * 1024};
inline constexpr SLMRBoundSetting LMR_MAX_INVENTORY_SIZE = {"MAX_INVENTORY_SIZE", 1024L * 1024 * 1024, 64L * 1024};
inline constexpr SLMRBoundSetting LMR_MAX_NAMES = {"MAX_NAMES", 100'000, 1};
inline constexpr SLMRBoundSetting LMR_MAX_REPEATED_NAMES = {"MAX_REPEATED_NAMES", 100'000, 1};

/// Bytes of an answer that cannot be used that are handed to the trace, which shows less of it unless it is told to.
inline constexpr size_t LMR_MOST_TRACED = size_t{1024} * 1024;

/// What the answer to one command, and all those of an inventory, may come to. One that passes a bound counts as none.
struct SLMRAnswerBounds
{
    size_t bytes = size_t{LMR_MAX_ANSWER_SIZE.byDefault};
    size_t lines = size_t{LMR_MAX_ANSWER_LINES.byDefault};
    size_t lineLength = size_t{LMR_MAX_LINE_LENGTH.byDefault};    ///< bytes
    size_t inventory = size_t{LMR_MAX_INVENTORY_SIZE.byDefault};  ///< bytes of what is listed of all groups
    // Each name of a listing costs a command or more.
    size_t names = size_t{LMR_MAX_NAMES.byDefault};                   ///< different ones in a listing of names
    size_t repeatedNames = size_t{LMR_MAX_REPEATED_NAMES.byDefault};  ///< lines of it that have one again

    obzx_pdk_4_4::SFiOutputBounds ofOutput() const { return {bytes, lines, lineLength}; }
};

/// Which value raises a bound that an output has passed, and in which file, for people.
std::string howToRaise(obzx_pdk_4_4::EFiOutputBound bound);

/// The same for the listings of all groups together, past whose bound no further one is asked for.
std::string inventoryExcess(const SLMRAnswerBounds& bounds);

/// Takes the name out of a line; false when it has none.
using CLMRNameParser = bool (*)(std::string_view line, std::string_view& name);
/// Which bound a listing of names is past, and how it is raised, for people; empty when it is past none.
std::string excessOf(std::span<const std::string_view> lines, CLMRNameParser parse, const SLMRAnswerBounds& bounds);
std::string excessOf(const std::vector<std::string>& lines, CLMRNameParser parse, const SLMRAnswerBounds& bounds);

}  // namespace cdpfi
