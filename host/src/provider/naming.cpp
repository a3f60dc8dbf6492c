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

constexpr std::string_view SERIAL_TAG = "DeviceID";
constexpr std::string_view CHECKPOINT_TAG = "Annotation";

std::string opening(std::string_view tag)
{
    return "<" + std::string(tag) + ">";
}

// Carries the slash behind the name: that is the provider's form.
std::string closing(std::string_view tag)
{
    return "<" + std::string(tag) + "/>";
}

std::string tagged(std::string_view tag, std::string_view value)
{
    return opening(tag).append(value).append(closing(tag));
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

bool isAbsentImageName(std::string_view text)
{
    return text.starts_with(ABSENT);
}

std::string targetDevice(std::string_view provider, std::string_view serial, std::string_view checkpoint)
{
    return nodePrefix(provider) + tagged(SERIAL_TAG, serial) + tagged(CHECKPOINT_TAG, checkpoint);
}

std::vector<std::string> targetTags()
{
    return {opening(SERIAL_TAG), closing(SERIAL_TAG), opening(CHECKPOINT_TAG), closing(CHECKPOINT_TAG)};
}

std::string checkpointOfTarget(std::string_view target)
{
    const std::string open = opening(CHECKPOINT_TAG);
    const size_t at = target.find(open);
    if (at == std::string_view::npos) return {};
    const size_t from = at + open.size();
    const size_t close = target.find(closing(CHECKPOINT_TAG), from);
    return close == std::string_view::npos ? std::string() : std::string(target.substr(from, close - from));
}

}  // namespace fictl::naming
