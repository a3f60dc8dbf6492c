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

std::string opening(std::string_view tag)
{
    return "<" + std::string(tag) + ">";
}

std::string closing(std::string_view tag)
{
    return "</" + std::string(tag) + ">";
}

bool isValue(std::string_view text)
{
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    return std::ranges::none_of(text, isControl) && std::ranges::none_of(nodeStateTags(), [text](const auto& tag) {
               return text.find(tag) != std::string_view::npos;
           });
}

}  // namespace

std::optional<SNodeState> parseNodeState(std::string_view text)
{
    SNodeState state;
    for (const SField& field : FIELDS) {
        const std::string open = opening(field.tag);
        const std::string close = closing(field.tag) + "\n";
        const size_t end = text.find(close);
        if (!text.starts_with(open) || end == std::string_view::npos) return std::nullopt;
        const std::string_view value = text.substr(open.size(), end - open.size());
        if (!isValue(value)) return std::nullopt;
        state.*field.value = std::string(value);
        text.remove_prefix(end + close.size());
    }
    if (!text.empty()) return std::nullopt;
    return state;
}

std::string writeNodeState(const SNodeState& state)
{
    std::string text;
    for (const SField& field : FIELDS) {
        text.append(opening(field.tag)).append(state.*field.value).append(closing(field.tag)).append("\n");
    }
    return text;
}

const std::vector<std::string>& nodeStateTags()
{
    static const std::vector<std::string> tags = [] {
        std::vector<std::string> all;
        for (const SField& field : FIELDS) {
            all.push_back(opening(field.tag));
            all.push_back(closing(field.tag));
        }
        return all;
    }();
    return tags;
}

}  // namespace fictl
