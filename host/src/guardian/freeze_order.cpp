#include "host/src/guardian/freeze_order.h"

#include <charconv>

namespace fictl {

namespace {

// Before the devices stand the two commands, the snapshot and the two times.
constexpr size_t FIRST_DEVICE = 5;

std::optional<std::chrono::seconds> secondsOf(const std::string& text)
{
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return std::chrono::seconds(number);
}

}  // namespace

std::vector<std::string> SFreezeOrder::environment(const char* phase, const char* status) const
{
    std::string list;
    for (const std::string& device : devices) {
        list += (list.empty() ? "" : "\n") + device;
    }
    return {"FICTL_SNAPSHOT=" + snapshot, std::string("FICTL_PHASE=") + phase, "FICTL_DEVICES=" + list,
            std::string("FICTL_STATUS=") + status};
}

std::unique_ptr<CHookRun> SFreezeOrder::startFreeze() const
{
    return std::make_unique<CHookRun>(hooks.freeze, hooks.timeout, environment("freeze", ""));
}

std::unique_ptr<CHookRun> SFreezeOrder::startThaw(EThaw cause) const
{
    return std::make_unique<CHookRun>(hooks.thaw, hooks.timeout, environment("thaw", thawText(cause)));
}

// Each part with a NUL behind it: what comes from a command line holds none.
std::string SFreezeOrder::encoded() const
{
    std::string text;
    const auto add = [&text](const std::string& part) { text.append(part).push_back('\0'); };
    add(hooks.freeze);
    add(hooks.thaw);
    add(snapshot);
    add(std::to_string(hooks.timeout.count()));
    add(std::to_string(hooks.maxFreeze.count()));
    for (const std::string& device : devices) {
        add(device);
    }
    return text;
}

std::optional<SFreezeOrder> SFreezeOrder::decoded(const std::string& text)
{
    std::vector<std::string> parts;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\0', at);
        if (end == std::string::npos) return std::nullopt;
        parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    if (parts.size() < FIRST_DEVICE) return std::nullopt;
    const std::optional<std::chrono::seconds> timeout = secondsOf(parts[3]);
    const std::optional<std::chrono::seconds> maxFreeze = secondsOf(parts[4]);
    if (!timeout || !maxFreeze) return std::nullopt;
    SFreezeOrder order{{parts[0], parts[1], *timeout, *maxFreeze}, parts[2], {}};
    order.devices.assign(parts.begin() + FIRST_DEVICE, parts.end());
    return order;
}

}  // namespace fictl
