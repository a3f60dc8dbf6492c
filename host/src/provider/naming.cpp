#include "host/src/provider/naming.h"

#include <algorithm>

namespace fictl::naming {

namespace {

constexpr std::string_view CHECKPOINT = "KSV_Check_Point_";
constexpr std::string_view IMAGE = "KSV_Time_Image_";
constexpr std::string_view ABSENT = "KSV_No__Image__";
static_assert(ABSENT.size() == IMAGE.size(), "the same suffix is read from both");

std::string withPrefix(std::string_view prefix, std::string_view checkpoint)
{
    if (!checkpoint.starts_with(CHECKPOINT)) return {};
    return std::string(prefix) + std::string(checkpoint.substr(CHECKPOINT.size()));
}

std::string tagged(std::string_view tag, std::string_view value)
{
    std::string text;
    // The closing part carries the slash behind the name: that is the provider's form.
    text.append("<").append(tag).append(">").append(value).append("<").append(tag).append("/>");
    return text;
}

}  // namespace

std::string nodePrefix(std::string_view provider)
{
    return "<" + std::string(provider) + ">";
}

std::string serialOfNode(std::string_view provider, std::string_view node)
{
    const std::string prefix = nodePrefix(provider);
    return node.starts_with(prefix) ? std::string(node.substr(prefix.size())) : std::string();
}

std::string_view checkpointPrefix()
{
    return CHECKPOINT;
}

std::string checkpointOfProcess(int64_t pid)
{
    return std::string(CHECKPOINT) + std::to_string(pid);
}

bool isCheckpointName(std::string_view text)
{
    constexpr size_t MOST_DIGITS = 20;
    if (!text.starts_with(CHECKPOINT)) return false;
    text.remove_prefix(CHECKPOINT.size());
    return !text.empty() && text.size() <= MOST_DIGITS &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string imageOfCheckpoint(std::string_view checkpoint)
{
    return withPrefix(IMAGE, checkpoint);
}

std::string absentImageOfCheckpoint(std::string_view checkpoint)
{
    return withPrefix(ABSENT, checkpoint);
}

std::string targetDevice(std::string_view provider, std::string_view serial, std::string_view checkpoint)
{
    return nodePrefix(provider) + tagged("DeviceID", serial) + tagged("Annotation", checkpoint);
}

std::string checkpointOfTarget(std::string_view target)
{
    constexpr std::string_view OPEN = "<Annotation>";
    constexpr std::string_view CLOSE = "<Annotation/>";
    const size_t open = target.find(OPEN);
    if (open == std::string_view::npos) return {};
    const size_t from = open + OPEN.size();
    const size_t close = target.find(CLOSE, from);
    return close == std::string_view::npos ? std::string() : std::string(target.substr(from, close - from));
}

}  // namespace fictl::naming
