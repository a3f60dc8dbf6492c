#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fictl {

/**
 * The state that a provider keeps of a node, as text:
 *
 *     <ApplianceType>value</ApplianceType>
 *     <ApplianceName>value</ApplianceName>
 *     <ConsistencyGroup>value</ConsistencyGroup>
 *     <TimeImage>value</TimeImage>
 *     <CheckPointName>value</CheckPointName>
 *     <SerialNo>value</SerialNo>
 *
 * one line each, each line ended by a newline, values as they stand. A provider looks for the tags wherever they stand,
 * so that no value may hold one of the twelve; nor may it hold a control character.
 */
struct SNodeState
{
    std::string applianceType;
    std::string applianceName;
    std::string consistencyGroup;
    std::string timeImage;
    std::string checkPointName;
    std::string serialNo;

    bool operator==(const SNodeState&) const = default;
};

/// Nothing when the text is not exactly of the form above.
std::optional<SNodeState> parseNodeState(std::string_view text);
std::string writeNodeState(const SNodeState& state);
/// The tags that begin and end a value.
const std::vector<std::string>& nodeStateTags();

}  // namespace fictl
