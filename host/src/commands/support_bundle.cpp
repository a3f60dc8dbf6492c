#include <nlohmann/json.hpp>

#include "host/src/bundle/collection.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/conversation_head.h"
#include "host/src/doctor/doctor.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/recording/recording.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

struct SBundleRequest
{
    std::string file{};
    bool isPseudonymous = false;
};

// The command that shows the same again when the conversation is held again.
json doctorWords(const SContext& context, std::chrono::seconds timeout)
{
    json words = {"--output", "json", "--timeout", std::to_string(timeout.count())};
    if (!context.provider.empty()) words.insert(words.end(), {"--provider", context.provider});
    words.push_back("doctor");
    return words;
}

std::string bundleText(const SBundleRequest& request, const SParts& parts, size_t count)
{
    std::string text = printable(request.file) + " holds " + counted(count, "file") + "\n";
    for (const SMissingPart& each : parts.missing) {
        text += "missing: " + each.part + ": " + printable(each.reason) + "\n";
    }
    return text;
}

SResult makeBundle(const SContext& context, const SBundleRequest& request)
{
    if (request.file.empty()) throw EFictl(EExit::USAGE, "--file is needed", "fictl support-bundle --file FILE.tar.gz");
    if (CRecording::current() != nullptr) {
        throw EFictl(EExit::USAGE, "a support bundle holds its own conversation; it cannot be recorded",
                     "leave --record away");
    }
    requireNoFile(request.file);
    const CGuardian guardian;
    const std::chrono::seconds timeout = context.timeout.count() == 0 ? DOCTOR_PATIENCE : context.timeout;
    SConversationBegin begin = beginConversation(doctorWords(context, timeout), context.provider);
    SParts parts = collectParts({.provider = context.chosenProvider(),
                                 .timeout = timeout,
                                 .progress = context.progress,
                                 .head = std::move(begin.head),
                                 .secrets = std::move(begin.secrets)});
    json manifest = {{"fictl", FICTL_VERSION},
                     {"made", utcSecondsText(std::chrono::system_clock::now())},
                     {"pseudonyms", request.isPseudonymous},
                     {"names_kept", request.isPseudonymous ? json(renameParts(parts)) : json()}};
    const FileTexts texts = withManifest(parts, std::move(manifest));
    context.progress.step("write " + request.file);
    writeBundleFile(request.file, texts);
    json names = json::array();
    for (const auto& [name, content] : texts) {
        names.push_back(name);
    }
    SResult result = resultOf({{"support_bundle",
                                {{"file", request.file},
                                 {"pseudonyms", request.isPseudonymous},
                                 {"files", std::move(names)},
                                 {"missing", parts.missingJson()}}}},
                              bundleText(request, parts, texts.size()));
    if (!parts.missing.empty()) result.exit = EExit::FAILED;
    return result;
}

}  // namespace

CommandRun declareSupportBundle(COptions& options)
{
    const auto request = std::make_shared<SBundleRequest>();
    options.newFile("--file", request->file, "New archive to write, FILE.tar.gz; must be given");
    options.flag("--pseudonyms", request->isPseudonymous,
                 "Give hosts, groups and LUNs other names, the same everywhere");
    return [request](const SContext& context) { return makeBundle(context, *request); };
}

}  // namespace fictl
