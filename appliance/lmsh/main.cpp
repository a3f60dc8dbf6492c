// lmsh: the appliance's command shell. Reads a script on standard input and prints what its commands answer.
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <string_view>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/core/faults/faulty_tool.h"
#include "appliance/core/hosts/host_config.h"
#include "appliance/core/shell/command_table.h"
#include "appliance/core/shell/script.h"

namespace {

constexpr const char* USAGE =
    "Usage: lmsh < SCRIPT\n"
    "Runs a script of appliance commands: a line \"server NAME\", commands, a line \"exit\".\n"
    "\n";
constexpr const char* STATUSES =
    "\n"
    "Exit status: 0 done, 2 malformed script, 3 an object does not exist, 4 an object exists already, 5 an object is\n"
    "in use, 6 storage failure, 7 store or configuration unusable, 1 anything else.\n";

std::string readScript()
{
    // One byte more than the limit shows the parser that there was more.
    std::string text(lumora::MAX_SCRIPT_SIZE + 1, '\0');
    size_t size = 0;
    while (size < text.size()) {
        const ssize_t count = ::read(STDIN_FILENO, text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) lumora::throwStorage("read", "standard input", errno);
        if (count == 0) break;
        size += static_cast<size_t>(count);
    }
    text.resize(size);
    return text;
}

int run()
{
    using namespace lumora;
    const SScript script = parseScript(readScript());
    CStore store(readHostConfiguration(hostRoot()).store, CStore::EMode::EXISTING);
    const CFaultTable faults(store.layout());
    const SAppliance appliance = CInventory(store).appliance(script.server);
    const std::unique_ptr<CBaseStorageEngine> engine = store.makeEngine(appliance.name, appliance.engine);
    for (const SCommand& command : script.commands) {
        runCommand(faults, appliance.name + ": " + commandText(command), engine.get(), [&](CBaseStorageEngine* chosen) {
            SShellTarget target(store, *chosen, appliance);
            return command.kind->run(target, command);
        });
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return lumora::runTool("lmsh", [argc, argv] {
        if (argc == 2 && std::string_view(argv[1]) == "--help") {
            lumora::printBytes(USAGE);
            lumora::printLines(lumora::commandHelp());
            lumora::printBytes(STATUSES);
            return 0;
        }
        if (argc > 1) {
            throw lumora::EApplianceError(lumora::EStatus::MALFORMED, "no arguments expected; see lmsh --help");
        }
        return run();
    });
}
