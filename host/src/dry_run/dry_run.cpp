#include "host/src/dry_run/dry_run.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/dry_run/shadow.h"
#include "host/src/guardian/guardian.h"
#include "host/src/inspection/inspector.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"
#include "host/src/runs/appliance_report.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

std::string textOf(const SNotShown& entry)
{
    const std::string appliance = "appliance \"" + printable(entry.appliance) + "\"";
    return (entry.group.empty() ? appliance : "group \"" + printable(entry.group) + "\" of " + appliance) + ": " +
           printable(entry.reason);
}

/// What the conversation in the shadow tells.
struct SAsked
{
    std::vector<std::string> commands;  ///< those that change something, each on one line
    std::string checkpoint;             ///< that the process there would make
};

// Of a script what follows the appliance's name counts.
bool isLook(const std::string& command)
{
    if (command.ends_with(" listdisk")) return true;
    const size_t mark = command.find("; ");
    if (mark == std::string::npos) return false;
    const std::string first = command.substr(mark + 2);
    return first.starts_with("list ") || first.starts_with("show ");
}

// As commandLine shows it.
std::string commandOf(const json& run)
{
    if (run.at("source") == "inspector") {
        if (run.at("appliance").is_null()) return run.at("command");
        return "lmsh: server " + run["appliance"].get<std::string>() + "; " + run.at("command").get<std::string>();
    }
    SRunRecord record;
    for (const json& argument : run.at("arguments")) {
        record.arguments.push_back(argument.is_string() ? argument.get<std::string>() : "...");
    }
    record.input = run.at("input").is_string() ? run["input"].get<std::string>() : "...";
    record.inputSize = record.input.size();
    return commandLine(record);
}

SAsked readConversation(const fs::path& file)
{
    SAsked asked;
    std::vector<std::pair<double, std::string>> runs;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        const json entry = json::parse(line, nullptr, false);
        if (!entry.is_object()) continue;
        if (entry.contains("checkpoint")) asked.checkpoint = entry["checkpoint"];
        if (!entry.contains("run")) continue;
        std::string command = commandOf(entry["run"]);
        if (!isLook(command)) runs.emplace_back(entry["run"].at("offset"), std::move(command));
    }
    std::ranges::stable_sort(runs, {}, &std::pair<double, std::string>::first);
    for (auto& [offset, command] : runs) {
        asked.commands.push_back(std::move(command));
    }
    return asked;
}

void replaceAll(std::string& text, const std::string& what, const std::string& with)
{
    if (what.empty()) return;
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

class CDryRun
{
  public:
    explicit CDryRun(const SDryRunOrder& order) : m_order(order) {}

    SResult run()
    {
        readRecord();
        const SInspection seen = look();
        m_order.progress.step("fill a shadow with what the appliances have");
        const CShadow shadow(seen, provider());
        requireKnown(seen, shadow);
        m_order.progress.step("try the command there");
        const SProgramEnd end = shadow.fictl(m_order.words);
        stopPoint();
        m_asked = readConversation(shadow.conversation());
        return resultOf(end, shadow);
    }

  private:
    // What another fictl is doing with it only the real catalog tells.
    void readRecord()
    {
        for (SSnapshot& snapshot : CCatalogReader().list().snapshots) {
            if (snapshot.name != m_order.snapshot) continue;
            requireNotHeld(snapshot);
            m_record = std::move(snapshot);
        }
    }

    std::string provider() const
    {
        if (!m_order.provider.empty()) return m_order.provider;
        return m_record ? m_record->provider : "cdpfi";
    }

    SInspection look() const
    {
        CInspector inspector(provider(), m_order.timeout);
        m_order.progress.step("look at the appliances");
        std::optional<SInspection> seen = inspector.look({});
        stopPoint();
        if (!seen) throw EFictl(EExit::FAILED, "no dry run: " + inspector.why(), "fictl doctor");
        if (!seen->disksRead) {
            throw EFictl(EExit::FAILED, "no dry run: the disks of this host are not known", "fictl doctor");
        }
        return *std::move(seen);
    }

    std::set<GroupKey> groups(const SInspection& seen) const
    {
        if (m_record) return m_record->groups();
        std::set<GroupKey> groups;
        for (const std::string& device : m_order.devices) {
            groups.merge(groupsOf(device, seen));
        }
        return groups;
    }

    // Those that hold the LUN of a disk; where none is known to, those that could hold it.
    static std::set<GroupKey> groupsOf(const std::string& device, const SInspection& seen)
    {
        std::error_code ignored;
        const fs::path real = fs::canonical(device, ignored);
        auto disk = seen.disks.find(device);
        if (disk == seen.disks.end()) disk = seen.disks.find(real);
        std::set<GroupKey> holding;
        std::set<GroupKey> unread;
        for (const auto& [name, appliance] : seen.appliances) {
            if (!appliance.groupsRead) unread.insert({name, ""});
            for (const auto& [group, content] : appliance.groups) {
                if (disk != seen.disks.end() && content.holds(disk->second)) holding.insert({name, group});
                if (!content.read) unread.insert({name, group});
            }
        }
        return holding.empty() ? unread : holding;
    }

    void requireKnown(const SInspection& seen, const CShadow& shadow)
    {
        for (const SNotShown& entry : shadow.notShown()) {
            m_unknown.push_back(textOf(entry));
        }
        for (const GroupKey& group : groups(seen)) {
            for (const SNotShown& entry : shadow.notShown()) {
                const bool isConcerned = entry.appliance == group.first &&
                                         (entry.group.empty() || group.second.empty() || entry.group == group.second);
                if (!isConcerned) continue;
                throw EFictl(EExit::FAILED, "no dry run: what would be done is not known: " + textOf(entry),
                             "fictl doctor");
            }
        }
    }

    // In the place of what only the real command will know.
    void generalize(std::string& text, const CShadow& shadow) const
    {
        replaceAll(text, m_asked.checkpoint, m_asked.checkpoint.substr(0, m_asked.checkpoint.rfind('_') + 1) + "N");
        replaceAll(text, shadow.tools().string() + "/", "");
        for (size_t at = 0; (at = text.find(shadow.folder().string(), at)) != std::string::npos;) {
            const size_t end = std::min(text.find_first_of(" \"'\n,;)", at), text.size());
            text.replace(at, end - at, "PATH");
        }
    }

    void generalize(json& value, const CShadow& shadow) const
    {
        if (value.is_string()) {
            std::string text = value;
            generalize(text, shadow);
            value = text;
        } else if (value.is_structured()) {
            for (json& part : value) {
                generalize(part, shadow);
            }
        }
    }

    SResult resultOf(const SProgramEnd& end, const CShadow& shadow)
    {
        json outcome = json::parse(end.output, nullptr, false);
        if (end.exit < 0 || !outcome.is_object()) {
            throw EFictl(EExit::FAILED, "no dry run: the command " + end.reason + " there: " + printable(end.errors),
                         "fictl doctor");
        }
        generalize(outcome, shadow);
        outcome.erase("schema_version");
        for (std::string& command : m_asked.commands) {
            generalize(command, shadow);
        }
        const auto exit = static_cast<EExit>(end.exit);
        SResult result = fictl::resultOf({{"dry_run",
                                           {{"commands", m_asked.commands},
                                            {"exit", end.exit},
                                            {"code", exitName(exit)},
                                            {"outcome", outcome},
                                            {"unknown", m_unknown}}}},
                                         text(exit, outcome));
        result.exit = exit;
        return result;
    }

    std::string text(EExit exit, const json& outcome) const
    {
        std::string text = m_asked.commands.empty() ? "no appliance would be asked to change anything\n"
                                                    : "the appliances would be asked:\n";
        for (const std::string& command : m_asked.commands) {
            text += "  " + printable(command) + "\n";
        }
        text += "expected: exit code " + std::to_string(static_cast<int>(exit)) + " (" + exitName(exit) + ")";
        if (outcome.contains("error")) text += ": " + printable(outcome["error"].value("message", ""));
        text += "\n";
        for (const std::string& entry : m_unknown) {
            text += "not known: " + entry + "\n";
        }
        return text + "nothing was asked for, and nothing was changed\n";
    }

    const SDryRunOrder& m_order;
    std::optional<SSnapshot> m_record;
    std::vector<std::string> m_unknown;
    SAsked m_asked;
};

}  // namespace

SResult dryRun(const SDryRunOrder& order)
{
    const CGuardian guardian;
    return CDryRun(order).run();
}

}  // namespace fictl
