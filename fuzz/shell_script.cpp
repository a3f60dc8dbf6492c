// Scripts of the appliance's shell.
#include <optional>

#include "appliance/core/conventions/error.h"
#include "appliance/core/shell/script.h"
#include "fuzz/fuzz.h"

using namespace lumora;
using fuzz::require;

namespace {

std::string write(const SScript& script)
{
    std::string text = "server \"" + script.server + "\"\n";
    for (const SCommand& command : script.commands) {
        for (const std::string& line : commandLines(command)) {
            text += line + "\n";
        }
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
