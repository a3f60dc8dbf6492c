#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/command_history.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/commands/creation.h"
#include "host/src/devices/device_name.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/process/host_name.h"
#include "host/src/process/other_process.h"
#include "host/src/recording/recording.h"
#include "host/src/snapshot/name_template.h"

namespace fictl {

namespace {

/// What stands on the command line.
struct SCreateOptions
{
    SCreateRequest request{};
    std::vector<std::string> labels{};
    bool ifAbsent = false;  ///< a snapshot of that name is as good
};

std::string nameOf(const SCreateOptions& options)
{
    const std::string& name = options.request.name;
    if (options.ifAbsent && hasNumber(name)) {
        throw EFictl(EExit::USAGE, "--if-absent and {n} exclude each other: a name with {n} is always a new one",
                     "leave one of them away");
    }
    return filledName(name, {.now = std::chrono::system_clock::now(), .host = systemHostName(), .taken = [] {
                                 return CCatalogReader().names();
                             }});
}

SCreateRequest requestOf(const SCreateOptions& options, const std::string& name)
{
    SCreateRequest request = options.request;
    request.name = name;
    requireSnapshotName(request.name);
    requireDevices(request.devices);
    request.labels = parseLabels(options.labels);
    requireNote(request.note);
    if (request.hooks.freeze.empty() != request.hooks.thaw.empty()) {
        throw EFictl(EExit::USAGE, "--freeze and --thaw belong together", "give both, or neither");
    }
    return request;
}

bool isOneDevice(const std::string& one, const std::string& other)
{
    if (one == other) return true;
    const std::optional<SDeviceIdentity> identity = identifyDevice(one);
    return identity && identity == identifyDevice(other);
}

// Whether it is of these very devices, under whatever names.
bool isOf(const SSnapshot& snapshot, const std::vector<std::string>& devices)
{
    const auto isGiven = [&](const SDevice& device) {
        return std::ranges::any_of(devices,
                                   [&](const std::string& given) { return isOneDevice(given, device.source); });
    };
    return snapshot.devices.size() == devices.size() && std::ranges::all_of(snapshot.devices, isGiven);
}

// A whole snapshot of that name. Anything else of that name is refused as it always is.
std::optional<SResult> alreadyThere(const SCreateRequest& request)
{
    CCatalogReader catalog;
    const std::optional<SSnapshot> record = catalog.find(request.name);
    if (!record || !record->isWhole()) return std::nullopt;
    if (!isOf(*record, request.devices)) {
        throw EFictl(EExit::EXISTS,
                     quotedSnapshot(record->name) + " is in the catalog already, and is of other devices",
                     "fictl snapshot show " + record->name);
    }
    return resultOf(
        {{"snapshot", snapshotJson(*record)}, {"already_there", true}},
        quotedSnapshot(record->name) + " is there already (" + record->shownState() + "); nothing was made\n");
}

SResult createSnapshot(const SContext& context, const SCreateRequest& request)
{
    SNameInUse inUse;
    try {
        const CGuardian guardian;
        return CSnapshotCreation(context, request).run();
    } catch (const SNameInUse& found) {
        inUse = found;
    }
    if (CCommandHistory* const history = CCommandHistory::current()) history->leave();
    if (CRecording* const recording = CRecording::current()) recording->leave();
    context.progress.step("go on in another process: the name of this one's checkpoint is in use");
    throw SEndedElsewhere{runInAnotherProcess(inUse.ids)};
}

SResult create(const SContext& context, const SCreateOptions& options)
{
    const std::string name = nameOf(options);
    if (!context.dryRun.empty()) return dryRunOf(context, name, options.request.devices);
    const SCreateRequest request = requestOf(options, name);
    std::optional<SResult> there = options.ifAbsent ? alreadyThere(request) : std::nullopt;
    return there ? *std::move(there) : createSnapshot(context, request);
}

}  // namespace

CommandRun declareCreate(COptions& options)
{
    const auto given = std::make_shared<SCreateOptions>();
    SHooks& hooks = given->request.hooks;
    options.word("NAME", given->request.name, COptions::EGiven::MUST_BE,
                 "Name of the new snapshot; {date}, {time}, {host} and {n} in it are filled in");
    options.words("DEV", given->request.devices, COptions::EGiven::MUST_BE, "Device paths");
    options.each("--label", given->labels, "KEY=VALUE that it is found and kept by; may be given several times");
    options.text("--note", given->request.note, "A line for people (none)");
    options.flag("--if-absent", given->ifAbsent, "Do nothing when a whole snapshot of that name and devices is there");
    options.secret("--freeze", hooks.freeze, "Command (sh -c) that quiets the application before");
    options.secret("--thaw", hooks.thaw, "Command that lets it go on; always runs once freeze has started");
    options.seconds("--hook-timeout", hooks.timeout, "Seconds that each of the two may take (60)");
    options.seconds("--max-freeze", hooks.maxFreeze, "Seconds after which the application is thawed in any case (60)");
    return [given](const SContext& context) { return create(context, *given); };
}

}  // namespace fictl
