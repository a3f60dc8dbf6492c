// kforutil: the disks that the appliances show to this host.
#include <cstdio>
#include <string_view>

#include "appliance/core/disk_table.h"
#include "appliance/core/error.h"
#include "appliance/core/files_engine.h"
#include "appliance/core/host_config.h"
#include "appliance/core/listing.h"
#include "appliance/core/tool.h"

namespace {

constexpr const char* usage =
    "Usage: kforutil discover | listdisk\n"
    "\n"
    "  discover   look for disks that were granted to this host since the last time\n"
    "  listdisk   list the disks of this host with their serials\n"
    "\n"
    "Exit status: 0 done, 2 wrong usage, 3 no appliance knows this host, 6 storage failure, 7 store or configuration\n"
    "unusable, 1 anything else.\n";

int run(std::string_view word)
{
    using namespace lumora;
    const SHostConfiguration configuration = readHostConfiguration(hostRoot());
    CStore store(configuration.store, CStore::EMode::existing);
    const CFilesEngine engine;
    CDiskTable table(store, engine);
    if (word == "listdisk") {
        printLines(listDisks(configuration.host, table.disks(configuration.host)));
        return 0;
    }
    if (!table.isHostKnown(configuration.host)) {
        throwMissing(EObject::host, configuration.host, "on any appliance; create it with lmadm host create");
    }
    const SDiscovery found = table.discover(configuration.host);
    printLines({std::to_string(found.total) + " disks for host " + configuration.host});
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string_view word = argc == 2 ? argv[1] : "";
    return lumora::runTool("kforutil", [word] {
        if (word == "--help") {
            lumora::printBytes(usage);
            return 0;
        }
        if (word != "discover" && word != "listdisk") {
            std::fputs(usage, stderr);
            throw lumora::EApplianceError(lumora::EStatus::malformed,
                                          "one word expected: discover or listdisk; see kforutil --help");
        }
        return run(word);
    });
}
