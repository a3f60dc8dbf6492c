#include "providers/cdp/inspect/inspection.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <deque>

#include "base/side_by_side.h"
#include "framework/include/ccmnnetwork.h"
#include "pdk/include/cfipluginname.h"
#include "providers/cdp/inspect/ambiguous_serials.h"
#include "providers/cdp/inspect/appliance_section.h"
#include "providers/cdp/inspect/configuration_section.h"
#include "providers/cdp/inspect/disk_section.h"
#include "providers/cdp/inspect/host_section.h"
#include "providers/cdp/inspect/tool_runner.h"
#include "providers/cdp/inspect/tool_section.h"
#include "providers/cdp/inspect/unlistable_luns.h"

namespace cdpfi::inspect {

using obzx_cmn_4_4::CCmnNetwork;
using obzx_cmn_4_4::SHostInfo;

namespace {

using CClock = std::chrono::steady_clock;

std::string utcNow()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    gmtime_r(&now, &parts);
    char text[32] = {};
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

/// The answers of everybody who was asked, before they are put together.
struct SGathered
{
    SAnswer disks;
    std::string localName;
    SHostInfo local;
    std::vector<SAppliance> appliances;
};

bool isAsked(const SInspectOptions& options, const std::string& appliance)
{
    return options.appliances.empty() || std::ranges::find(options.appliances, appliance) != options.appliances.end();
}

/// Asks tools, resolver and appliances at the same time, so that one that hangs holds up nobody else.
SGathered gather(CToolRunner& runner, const SInspectOptions& options, const SConfiguration& configuration)
{
    SGathered gathered;
    const CCmnNetwork network(cfi_pgn_name_str);
    base::CSideBySide work(runner.atOnce());
    work.add([&] { gathered.disks = runner.listDisks(); });
    work.add([&] {
        gathered.localName = network.getFQDN();
        gathered.local = network.resolve(gathered.localName);
    });
    std::deque<CApplianceQuestions> appliances;
    for (const SConfiguredAppliance& appliance : configuration.appliances) {
        if (isAsked(options, appliance.name)) appliances.emplace_back(runner, options, work, appliance.name).begin();
    }
    work.run();
    for (CApplianceQuestions& appliance : appliances) {
        gathered.appliances.push_back(appliance.take());
    }
    return gathered;
}

/// A resolver that knows nothing after a point in time: without an answer each host of an appliance takes seconds.
CResolver resolverUntil(CClock::time_point deadline)
{
    return [deadline, network = CCmnNetwork(cfi_pgn_name_str)](const std::string& name) {
        return CClock::now() < deadline ? network.resolve(name) : SHostInfo{name, {name}, {}, {}};
    };
}

void placeOnThisHost(SAppliance& appliance, const CDevicePaths& paths, const SGathered& gathered,
                     const CResolver& resolve)
{
    appliance.hostHere = findHostHere(appliance.hosts, gathered.local, gathered.localName, resolve);
    for (SGroup& group : appliance.groups) {
        for (SGroupLun& lun : group.luns) {
            lun.path = paths.pathOf(lun.serial);
        }
        for (SImage& image : group.images) {
            for (SImageLun& lun : image.luns) {
                lun.path = paths.pathOf(lun.target);
            }
        }
    }
}

std::vector<SToolRun> takeRuns(SGathered& gathered)
{
    std::vector<SToolRun> runs;
    if (gathered.disks.use.tried) runs.push_back(std::move(gathered.disks.run));
    for (SAppliance& appliance : gathered.appliances) {
        std::ranges::move(appliance.runs, std::back_inserter(runs));
    }
    return runs;
}

}  // namespace

SInspection inspect(const SInspectOptions& options)
{
    const auto start = CClock::now();
    SInspection inspection;
    inspection.taken = utcNow();
    inspection.configuration = readConfiguration();
    CToolRunner runner;
    const CRunWatch watch(options.timeout);
    SGathered gathered = gather(runner, options, inspection.configuration);

    inspection.host = describeHost(gathered.local, gathered.localName);
    inspection.disks = readDisks(gathered.disks);
    SToolUse shell;
    const CDevicePaths paths(inspection.disks);
    const CResolver resolve = resolverUntil(CClock::now() + std::chrono::seconds(options.timeout));
    for (SAppliance& appliance : gathered.appliances) {
        placeOnThisHost(appliance, paths, gathered, resolve);
        shell.add(appliance.shell);
    }
    inspection.tools = describeTools(runner, shell, gathered.disks.use);
    inspection.parallel = runner.atOnce();
    if (options.raw) inspection.raw = takeRuns(gathered);
    inspection.appliances = std::move(gathered.appliances);
    inspection.ambiguous = findAmbiguous(inspection.appliances, inspection.disks);
    inspection.unlistable = findUnlistable(inspection.appliances);
    inspection.seconds = std::chrono::duration<double>(CClock::now() - start).count();
    return inspection;
}

}  // namespace cdpfi::inspect
