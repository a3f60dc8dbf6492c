#include "providers/cdp/lmr/lmr_answer_bounds.h"

#include <algorithm>
#include <unordered_set>

#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi {

using obzx_pdk_4_4::EFiOutputBound;

namespace {

std::string howToRaise(const SLMRBoundSetting& bound)
{
    return std::string(LMR_TOOL_SECTION) + "/" + bound.key + " in " + CLMRConfiguration({}).path() + " raises that";
}

}  // namespace

std::string howToRaise(EFiOutputBound bound)
{
    switch (bound) {
        case EFiOutputBound::LINES:
            return howToRaise(LMR_MAX_ANSWER_LINES);
        case EFiOutputBound::LINE_LENGTH:
            return howToRaise(LMR_MAX_LINE_LENGTH);
        default:
            return howToRaise(LMR_MAX_ANSWER_SIZE);
    }
}

std::string inventoryExcess(const SLMRAnswerBounds& bounds)
{
    return "the listings of the groups have more than " + std::to_string(bounds.inventory) + " bytes; " +
           howToRaise(LMR_MAX_INVENTORY_SIZE);
}

std::string excessOf(std::span<const std::string_view> lines, CLMRNameParser parse, const SLMRAnswerBounds& bounds)
{
    if (lines.size() <= std::min(bounds.names, bounds.repeatedNames)) return {};
    std::unordered_set<std::string_view> names;
    size_t repeated = 0;
    for (const std::string_view line : lines) {
        std::string_view name;
        if (parse(line, name) && !names.insert(name).second) ++repeated;
        if (names.size() > bounds.names) {
            return "it holds more than " + std::to_string(bounds.names) + " names; " + howToRaise(LMR_MAX_NAMES);
        }
        if (repeated > bounds.repeatedNames) {
            return "it repeats names in more than " + std::to_string(bounds.repeatedNames) + " lines; " +
                   howToRaise(LMR_MAX_REPEATED_NAMES);
        }
    }
    return {};
}

std::string excessOf(const std::vector<std::string>& lines, CLMRNameParser parse, const SLMRAnswerBounds& bounds)
{
    return excessOf(viewsOf(lines), parse, bounds);
}

}  // namespace cdpfi
