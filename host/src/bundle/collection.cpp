#include "host/src/bundle/collection.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "base/file_descriptor.h"
#include "base/file_read.h"
#include "host/src/bundle/digest.h"
#include "host/src/bundle/host_facts.h"
#include "host/src/bundle/names.h"
#include "host/src/bundle/pseudonyms.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/history_json.h"
#include "host/src/catalog/history_table.h"
#include "host/src/catalog/record_json.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"
#include "host/src/recording/recording.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* HIDDEN = "...";

std::string textOf(const json& value)
{
    return value.is_string() ? value.get<std::string>() : "no reason is told";
}

/// Messages repeat a freeze or thaw command that failed in double quotes, up to the last of the message.
void hideFailedCommands(json& document)
{
    if (document.is_structured()) {
        for (json& part : document) {
            hideFailedCommands(part);
        }
    }
    if (!document.is_string()) return;
    std::string text = document;
    for (const std::string_view mark : {"freeze command \"", "command failed: \"", "command failed too: \""}) {
        const size_t at = text.find(mark);
        if (at == std::string::npos) continue;
        const size_t begin = at + mark.size();
        const size_t end = text.rfind('"');
        if (end > begin) text.replace(begin, end - begin, HIDDEN);
    }
    document = text;
}

class CCollection
{
  public:
    explicit CCollection(SCollectionOrder order) : m_order(std::move(order)), m_secrets(m_order.secrets, HIDDEN) {}

    SParts run()
    {
        diagnose();
        hideLines();
        m_parts.files["doctor.json"] = doctorJson(m_diagnosis.checks);
        CSecrets(m_linesOfFiles, HIDDEN).hide(m_parts.files["doctor.json"]);
        addConversation();
        checkInspection();
        m_parts.files["configuration.json"] = configurationJson(m_diagnosis.inspection);
        m_parts.files["versions.json"] = versionsJson(m_diagnosis);
        if (m_diagnosis.provider.is_null()) m_parts.miss("versions.json", "the provider could not be loaded");
        m_parts.files["permissions.json"] = permissionsJson(pathsOfSite(m_order.provider, m_diagnosis));
        m_parts.files["limits.json"] = limitsJson();
        stopPoint();
        m_order.progress.step("read catalog, history and trace");
        add("catalog.json", [] { return records(); });
        add("history.json", [] { return history(); });
        add("trace.log", [this] { return json(endOfTrace()); });
        for (auto& [name, content] : m_parts.files) {
            m_secrets.hide(content);
        }
        return std::move(m_parts);
    }

  private:
    void diagnose()
    {
        CRecording recording(m_lines, m_order.head, m_order.secrets);
        m_diagnosis = fictl::diagnose({m_order.provider, m_order.timeout, m_order.progress});
        recording.end(0, "");
        if (!recording.failure().empty()) m_parts.miss("conversation.jsonl", recording.failure());
    }

    // Lines that say nothing to the provider may say anything.
    void hideLines()
    {
        if (!m_diagnosis.inspection.is_object()) return;
        for (const char* const kind : {"unreadable_lines", "commented_appliances"}) {
            for (json& line : m_diagnosis.inspection["configuration"][kind]) {
                m_linesOfFiles.push_back(line.value("text", ""));
                line["text"] = HIDDEN;
            }
        }
    }

    // Its last line tells the doctor's document as it is in the bundle.
    void addConversation()
    {
        m_lines.front()["configuration"] = configurationText(m_diagnosis.inspection);
        m_lines.back()["end"] = {{"exit", static_cast<int>(isHealthy(m_diagnosis.checks) ? EExit::OK : EExit::FAILED)},
                                 {"output", conversationText(documentText(m_parts.files["doctor.json"]))}};
        m_parts.files["conversation.jsonl"] = std::move(m_lines);
    }

    void checkInspection()
    {
        const json& seen = m_diagnosis.inspection;
        if (!seen.is_object()) {
            for (const SCheck& check : m_diagnosis.checks) {
                if (check.name == "inspector") m_parts.miss("inspection.json", check.text);
            }
            return;
        }
        m_parts.files["inspection.json"] = seen;
        if (!seen["disks"].value("read", false)) {
            m_parts.miss("inspection.json", "the disks of this host: " + textOf(seen["disks"]["reason"]));
        }
        for (const json& appliance : seen["appliances"]) {
            const std::string name = "appliance \"" + printable(appliance.value("name", "")) + "\"";
            if (!appliance.value("reachable", false)) {
                m_parts.miss("inspection.json", name + ": " + textOf(appliance["reason"]));
            }
            for (const json& group : appliance["groups"]) {
                if (group.value("read", false) && group.value("images_read", false)) continue;
                m_parts.miss("inspection.json", "group \"" + printable(group.value("name", "")) + "\" of " + name +
                                                    ": " + textOf(group["reason"]));
            }
        }
    }

    void add(const std::string& name, const std::function<json()>& content)
    {
        try {
            m_parts.files[name] = content();
            hideFailedCommands(m_parts.files[name]);
        } catch (const EFictl& error) {
            m_parts.files.erase(name);
            m_parts.miss(name, error.what());
        }
    }

    static json records()
    {
        CCatalogReader catalog;
        const SListing listing = catalog.list();
        json snapshots = json::array();
        for (const SSnapshot& snapshot : listing.snapshots) {
            snapshots.push_back(snapshotJson(snapshot));
            if (!snapshot.thaw.empty()) snapshots.back()["thaw_command"] = HIDDEN;
        }
        json unreadable = json::array();
        for (const SUnreadable& entry : listing.unreadable) {
            unreadable.push_back({{"name", entry.name}, {"reason", entry.reason}});
        }
        return {{"path", catalog.path()},
                {"there", catalog.isThere()},
                {"snapshots", std::move(snapshots)},
                {"unreadable", std::move(unreadable)}};
    }

    static json history()
    {
        CCatalogReader catalog;
        json entries = json::array();
        if (catalog.isThere()) {
            catalog.read([&](const base::CSqliteDatabase& database) {
                entries.clear();
                readHistory(database, {}, [&](const SHistoryEntry& entry) { entries.push_back(historyJson(entry)); });
            });
        }
        return {{"history", std::move(entries)}};
    }

    // Whole lines.
    std::string endOfTrace() const
    {
        constexpr off_t MOST = off_t{1024} * 1024;
        const std::string path = tracePath(m_order.provider, m_diagnosis.inspection);
        const base::CFileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat status = {};
        if (!file || fstat(file.get(), &status) != 0) failFile("open", path);
        if (!S_ISREG(status.st_mode)) throw EFictl(EExit::IO, printable(path) + " is no regular file");
        const off_t begin = std::max<off_t>(status.st_size - MOST, 0);
        std::string text(static_cast<size_t>(status.st_size - begin), '\0');
        const ptrdiff_t size = base::readAt(file.get(), text.data(), text.size(), static_cast<uint64_t>(begin));
        if (size < 0) failFile("read", path);
        text.resize(static_cast<size_t>(size));
        return asUtf8(begin == 0 ? text : text.substr(std::min(text.find('\n') + 1, text.size())));
    }

    SCollectionOrder m_order;
    CSecrets m_secrets;
    SParts m_parts;
    std::vector<json> m_lines;
    SDiagnosis m_diagnosis;
    std::vector<std::string> m_linesOfFiles;  // that nobody but their writer understands
};

}  // namespace

SParts collectParts(SCollectionOrder order)
{
    return CCollection(std::move(order)).run();
}

size_t renameParts(SParts& parts)
{
    CNames names;
    if (parts.files.contains("inspection.json")) names.addInspection(parts.files["inspection.json"]);
    for (const auto& [name, content] : parts.files) {
        names.addAll(content);
    }
    const CPseudonyms pseudonyms(names);
    for (auto& [name, content] : parts.files) {
        pseudonyms.rename(content);
    }
    for (SMissingPart& each : parts.missing) {
        each.reason = pseudonyms.renamed(each.reason);
    }
    return names.passedOver();
}

FileTexts withManifest(const SParts& parts, json manifest)
{
    FileTexts texts = parts.texts();
    json files = json::array();
    for (const auto& [name, content] : texts) {
        files.push_back({{"name", name}, {"size", content.size()}, {"sha256", sha256Of(content)}});
    }
    manifest["format"] = "fictl-support-bundle";
    manifest["version"] = 1;
    manifest["files"] = std::move(files);
    manifest["missing"] = parts.missingJson();
    texts["manifest.json"] = documentText(std::move(manifest));
    return texts;
}

}  // namespace fictl
