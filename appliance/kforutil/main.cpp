// kforutil: the disks that the appliances show to this host.
#include <cstdio>
#include <string>
#include <string_view>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/core/faults/faulty_tool.h"
#include "appliance/core/hosts/disk_listing.h"
#include "appliance/core/hosts/host_config.h"

namespace {

constexpr const char* USAGE =
    "Usage: kforutil discover | listdisk\n"
    "\n"
    "  discover   look for disks that were granted to this host since the last time\n"
    "  listdisk   list the disks of this host with their serials\n"
    "\n"
    "Exit status: 0 done, 2 wrong usage, 3 no appliance knows this host, 6 storage failure, 7 store or configuration\n"
    "unusable, 1 anything else.\n";

lumora::Lines answer(lumora::CDiskTable& table, const std::string& host, std::string_view word)
{
    using namespace lumora;
    if (word == "listdisk") return listDisks(host, table.disks(host));
    if (!table.isHostKnown(host)) {
        throwMissing(EObject::HOST, host, "on any appliance; create it with lmadm host create");
    }
    const SDiscovery found = table.discover(host);
    return {std::to_string(found.total) + " disks for host " + host};
}

int run(const std::string& word)
{
    using namespace lumora;
    const SHostConfiguration configuration = readHostConfiguration(hostRoot());
    CStore store(configuration.store, CStore::EMode::EXISTING);
    CDiskTable table(store);
    runCommand(CFaultTable(store.layout()), configuration.host + ": kforutil " + word, nullptr,
               [&](CBaseStorageEngine* /*none*/) { return answer(table, configuration.host, word); });
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string word = argc == 2 ? argv[1] : "";
    return lumora::runTool("kforutil", [word] {
        if (word == "--help") {
            lumora::printBytes(USAGE);
            return 0;
        }
        if (word != "discover" && word != "listdisk") {
            std::fputs(USAGE, stderr);
            throw lumora::EApplianceError(lumora::EStatus::MALFORMED,
                                          "one word expected: discover or listdisk; see kforutil --help");
        }
        return run(word);
    });
}
