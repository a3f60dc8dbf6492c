#include "host/src/provider/node_state.h"

#include <algorithm>

namespace fictl {

namespace {

struct SField
{
    std::string_view tag;
    std::string SNodeState::*value;
};

constexpr SField FIELDS[] = {
    {"ApplianceType", &SNodeState::applianceType},       {"ApplianceName", &SNodeState::applianceName},
    {"ConsistencyGroup", &SNodeState::consistencyGroup}, {"TimeImage", &SNodeState::timeImage},
    {"CheckPointName", &SNodeState::checkPointName},     {"SerialNo", &SNodeState::serialNo},
};

bool isPlain(char c)
{
    return c != '<' && static_cast<unsigned char>(c) >= 0x20 && c != 0x7f;
}

bool take(std::string_view& text, std::string_view expected)
{
    if (!text.starts_with(expected)) return false;
    text.remove_prefix(expected.size());
    return true;
}

}  // namespace

std::optional<SNodeState> parseNodeState(std::string_view text)
{
    SNodeState state;
    for (const SField& field : FIELDS) {
        const std::string tag(field.tag);
        if (!take(text, "<" + tag + ">")) return std::nullopt;
        const auto end = std::find_if_not(text.begin(), text.end(), isPlain);
        state.*field.value = std::string(text.begin(), end);
        text.remove_prefix(static_cast<size_t>(end - text.begin()));
        if (!take(text, "</" + tag + ">\n")) return std::nullopt;
    }
    if (!text.empty()) return std::nullopt;
    return state;
}

std::string writeNodeState(const SNodeState& state)
{
    std::string text;
    for (const SField& field : FIELDS) {
        text.append("<").append(field.tag).append(">").append(state.*field.value);
        text.append("</").append(field.tag).append(">\n");
    }
    return text;
}

}  // namespace fictl
