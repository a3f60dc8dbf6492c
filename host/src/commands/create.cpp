#include "host/src/catalog/command_history.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/commands/creation.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/process/other_process.h"
#include "host/src/recording/recording.h"

namespace fictl {

namespace {

SResult createSnapshot(const SContext& context, const SCreateRequest& request)
{
    requireSnapshotName(request.name);
    requireDevices(request.devices);
    if (request.hooks.freeze.empty() != request.hooks.thaw.empty()) {
        throw EFictl(EExit::USAGE, "--freeze and --thaw belong together", "give both, or neither");
    }
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

}  // namespace

CommandRun declareCreate(COptions& options)
{
    const auto request = std::make_shared<SCreateRequest>();
    SHooks& hooks = request->hooks;
    options.word("NAME", request->name, COptions::EGiven::MUST_BE, "Name of the new snapshot");
    options.words("DEV", request->devices, COptions::EGiven::MUST_BE, "Device paths");
    options.secret("--freeze", hooks.freeze, "Command (sh -c) that quiets the application before");
    options.secret("--thaw", hooks.thaw, "Command that lets it go on; always runs once freeze has started");
    options.seconds("--hook-timeout", hooks.timeout, "Seconds that each of the two may take (60)");
    options.seconds("--max-freeze", hooks.maxFreeze, "Seconds after which the application is thawed in any case (60)");
    return [request](const SContext& context) {
        return context.dryRun.empty() ? createSnapshot(context, *request)
                                      : dryRunOf(context, request->name, request->devices);
    };
}

}  // namespace fictl
