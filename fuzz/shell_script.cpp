// Scripts of the appliance's shell.
#include <optional>

#include "appliance/core/conventions/error.h"
#include "appliance/core/shell/script.h"
#include "fuzz/fuzz.h"

using namespace lumora;
using fuzz::require;

namespace {

std::string q(const std::string& name)
{
    return " \"" + name + "\"";
}

// Writes a command in the form that the grammar has it.
struct SWriter
{
    std::string operator()(const SListHosts&) const { return "list hosts\n"; }
    std::string operator()(const SListGroups&) const { return "list cgroups\n"; }
    std::string operator()(const SShowHost& c) const { return "show host" + q(c.host) + "\n"; }
    std::string operator()(const SShowGroup& c) const { return "show cgroup" + q(c.group) + "\n"; }
    std::string operator()(const SCreateAnnotation& c) const
    {
        return "create annotation" + q(c.name) + q(c.group) + "\nset message" + q(c.message) + "\ncommit\n";
    }
    std::string operator()(const SDeleteAnnotation& c) const
    {
        return "delete annotation" + q(c.name) + q(c.group) + "\n";
    }
    std::string operator()(const SCreateTimeImage& c) const
    {
        const STimeImageRequest& image = c.request;
        std::string text = "create timeimage" + q(image.name) + q(image.group) + "\nuse annotation" +
                           q(image.annotation) + "\nset preserve mode " + (image.retention.preserve ? "yes" : "no") +
                           "\nset prevent expiration timeout " + std::to_string(image.retention.preventExpiration) +
                           "\nset proactive expiration timeout " + std::to_string(image.retention.proactiveExpiration) +
                           "\n";
        for (const std::string& host : image.hosts) {
            text += "add permission" + q(host) + "\n";
        }
        return text + "commit\n";
    }
    std::string operator()(const SDeleteTimeImage& c) const
    {
        return "delete timeimage" + q(c.name) + q(c.group) + "\n";
    }
    std::string operator()(const SUpdateGroup& c) const
    {
        return "update timeimage" + q(c.group) + "\n" + changes(c.changes);
    }
    std::string operator()(const SUpdateTimeImage& c) const
    {
        return "update timeimage" + q(c.name) + q(c.group) + "\n" + changes(c.changes);
    }
    std::string operator()(const SListTimeImages& c) const { return "list timeimages" + q(c.group) + "\n"; }
    std::string operator()(const SShowTimeImage& c) const { return "show timeimage" + q(c.name) + q(c.group) + "\n"; }

    static std::string changes(const std::vector<SPermissionChange>& list)
    {
        std::string text;
        for (const SPermissionChange& change : list) {
            text += (change.add ? "add permission" : "delete permission") + q(change.host) + "\n";
        }
        return text + "commit\n";
    }
};

std::string write(const SScript& script)
{
    std::string text = "server" + q(script.server) + "\n";
    for (const Command& command : script.commands) {
        text += std::visit(SWriter(), command);
    }
    return text + "exit\n";
}

std::optional<SScript> read(std::string_view text)
{
    try {
        return parseScript(text);
    } catch (const EApplianceError& error) {
        require(error.status() == EStatus::MALFORMED, "what cannot be understood is malformed");
        const std::string reason = error.what();
        require(reason.starts_with("line ") && reason.find('\n') == std::string::npos, "the reason is one line");
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view text = fuzz::textOf(data, size);
    const std::optional<SScript> script = read(text);
    if (!script) return 0;
    require(text.find(script->server) != std::string_view::npos, "the server stands in the script");
    require(text.find("exit") != std::string_view::npos, "a script that was cut off is refused");
    const std::string written = write(*script);
    const std::optional<SScript> again = read(written);
    require(again && write(*again) == written, "a script that is written is read back the same");
    return 0;
}
