#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/file_descriptor.h"
#include "host/src/catalog/catalog.h"
#include "host/src/catalog/record_document.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/guardian/guardian.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/output/error.h"
#include "host/src/process/own_setting.h"
#include "host/src/provider/provider_library.h"
#include "host/src/recording/recording.h"
#include "host/src/snapshot/made_devices.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* STANDARD_INPUT = "-";

// One byte more than allowed tells a text that is too long from one that just fits.
std::string readAll(int descriptor, const std::string& what)
{
    std::string text;
    char buffer[16384];
    while (text.size() <= DOCUMENT_LIMIT) {
        const size_t room = std::min(sizeof buffer, DOCUMENT_LIMIT + 1 - text.size());
        const ssize_t count = read(descriptor, buffer, room);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failFile("read", what);
        if (count == 0) break;
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

std::string bytesOf(const std::string& file)
{
    if (file == STANDARD_INPUT) return readAll(STDIN_FILENO, "standard input");
    const base::CFileDescriptor input(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!input) failFile("open", file);
    return readAll(input.get(), file);
}

std::string readInput(const std::string& file)
{
    std::string text = bytesOf(file);
    if (CRecording* const recording = CRecording::current()) recording->addInput(file, text);
    return text;
}

[[noreturn]] void reject(const SSnapshot& snapshot, const std::string& reason, const std::string& next)
{
    throw EFictl(EExit::BAD_RECORD, "snapshot \"" + snapshot.name + "\": " + reason + "; the record was not entered",
                 next);
}

// A record names the library that this host loads for it, so only providers that are wanted here are taken.
void requireAllowedProvider(const SContext& context, const SSnapshot& snapshot)
{
    std::set<std::string> allowed = wordsOfSetting("RECEIVE", "PROVIDERS");
    if (allowed.empty()) allowed.insert(CProviderLibrary::nameOf(context.chosenProvider()));
    if (allowed.contains(snapshot.provider)) return;
    reject(snapshot, "provider \"" + snapshot.provider + "\" is not allowed on this host",
           "an administrator allows it with PROVIDERS= in section [RECEIVE] of /etc/qz/fictl.conf");
}

// Two records of one checkpoint would each delete the other's.
void requireNobodysCheckpoints(CCatalog& catalog, const SSnapshot& snapshot)
{
    for (const GroupKey& group : snapshot.groups()) {
        const std::optional<std::string> owner = catalog.otherOwner(snapshot.name, group, snapshot.checkpoint);
        if (!owner) continue;
        reject(snapshot,
               "checkpoint " + snapshot.checkpoint + " of group " + groupText(group) + " belongs to snapshot \"" +
                   *owner + "\" of this catalog",
               "fictl snapshot show " + *owner);
    }
}

void requireThere(const SSnapshot& snapshot, const SDevice& device, const SInspection& seen, CKnowledge& knowledge)
{
    const GroupKey group = device.group();
    const std::string next = "compare with fictl snapshot show " + snapshot.name + " on the host that wrote it";
    if (seen.appliance(group.first) == nullptr) {
        reject(snapshot, "appliance \"" + printable(group.first) + "\" is not configured on this host",
               "add it to /etc/qz/hls.conf, or " + next);
    }
    const std::string lun = "LUN " + printable(device.state.serialNo) + " (" + printable(device.source) + ")";
    if (seen.hasGroup(group) == EThere::NO) reject(snapshot, "there is no group " + groupText(group), next);
    if (seen.hasLun(group, device.state.serialNo) == EThere::NO) {
        reject(snapshot, "group " + groupText(group) + " has no " + lun, next);
    }
    if (seen.hasCheckpoint(group, snapshot.checkpoint) == EThere::NO) {
        reject(snapshot, "group " + groupText(group) + " has no checkpoint " + snapshot.checkpoint, next);
    }
    if (const SAmbiguousLun* const ambiguous = seen.ambiguity(device.state.serialNo)) {
        reject(snapshot, lun + " is ambiguous: " + printable(ambiguous->reason), next);
    }
    if (seen.hasLun(group, device.state.serialNo) == EThere::UNKNOWN) {
        knowledge.warnUnguarded("that group " + groupText(group) + " holds what the record says", seen.doubt(group));
    }
}

void requireWhatIsThere(const SContext& context, SSnapshot& snapshot)
{
    CKnowledge knowledge(context.provider.empty() ? snapshot.provider : context.provider, context.timeout,
                         snapshot.groups());
    const SInspection* const seen = knowledge.look();
    if (seen == nullptr) {
        knowledge.warnUnguarded("that the appliances have what the record says", knowledge.why());
        return;
    }
    for (const SDevice& device : snapshot.devices) {
        requireThere(snapshot, device, *seen, knowledge);
    }
    enterCheckpointTimes(snapshot, *seen);
}

SResult receiveSnapshot(const SContext& context, const std::string& file)
{
    const CGuardian guardian;
    SSnapshot snapshot = readDocument(readInput(file));
    requireAllowedProvider(context, snapshot);
    CCatalog catalog;
    if (catalog.has(snapshot.name)) catalog.insert(snapshot);  // refuses, saying what is there
    requireNobodysCheckpoints(catalog, snapshot);
    requireWhatIsThere(context, snapshot);
    snapshot.owner = thisProcess();
    catalog.insert(snapshot);
    return snapshotResult(snapshot, "snapshot \"" + snapshot.name + "\" is received\n");
}

}  // namespace

CommandRun declareReceive(COptions& options)
{
    const auto file = std::make_shared<std::string>(STANDARD_INPUT);
    options.word("FILE", *file, COptions::EGiven::MAY_BE, "File to read (-, standard input)");
    return [file](const SContext& context) { return receiveSnapshot(context, *file); };
}

}  // namespace fictl
