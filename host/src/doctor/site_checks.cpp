#include "host/src/doctor/site_checks.h"

#include <sys/stat.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string quoted(const json& text)
{
    return "\"" + printable(text.get<std::string>()) + "\"";
}

std::string textOf(const json& value, const char* otherwise)
{
    return value.is_string() ? value.get<std::string>() : otherwise;
}

/// Goes through a document and notes what it finds.
class CSiteCheck
{
  public:
    explicit CSiteCheck(const json& inspection)
        : m_inspection(inspection), m_configuration(inspection.at("configuration"))
    {
    }

    Checks run()
    {
        checkFiles();
        checkLines();
        checkConfiguredAppliances();
        for (const json& tool : m_inspection.at("tools")) {
            checkTool(tool);
        }
        checkHost();
        for (const json& appliance : m_inspection.at("appliances")) {
            checkAppliance(appliance);
        }
        checkDisks();
        for (const json& lun : m_inspection.at("ambiguous")) {
            add(ELevel::WARN, "lun", "LUN " + quoted(lun.at("serial")) + ": " + textOf(lun.at("reason"), "ambiguous"),
                "give the group another name: no snapshot of this LUN is taken");
        }
        for (const json& lun : m_inspection.value("unlistable", json::array())) {
            add(ELevel::WARN, "lun", "LUN " + quoted(lun.at("serial")) + ": " + textOf(lun.at("reason"), "unlistable"),
                "give the LUN another name on the appliance: no snapshot of it is taken");
        }
        return std::move(m_checks);
    }

  private:
    SCheck& add(ELevel level, const char* name, const std::string& text, const std::string& next = {})
    {
        return m_checks.emplace_back(SCheck{level, name, text, next});
    }

    SCheck& addAt(const json& place, ELevel level, const char* name, const std::string& text, const std::string& next)
    {
        SCheck& check = add(level, name, text, next);
        check.file = textOf(place.at("file"), "");
        if (place.at("line").is_number_integer()) check.line = place.at("line").get<int64_t>();
        return check;
    }

    void checkFiles()
    {
        for (const json& file : m_configuration.at("files")) {
            const std::string path = file.at("path").get<std::string>();
            struct stat status = {};
            if (file.at("read").get<bool>()) {
                add(ELevel::OK, "configuration", "is read").file = path;
            } else if (lstat(path.c_str(), &status) != 0 && errno == ENOENT) {
                add(ELevel::OK, "configuration", "is not there; nothing but defaults").file = path;
            } else {
                add(ELevel::FAIL, "configuration", "is not read: " + textOf(file.at("reason"), "no reason is told"),
                    "make it a regular file that this user can read")
                    .file = path;
            }
        }
    }

    void checkLines()
    {
        for (const json& line : m_configuration.at("unreadable_lines")) {
            addAt(line, ELevel::WARN, "configuration",
                  "cannot be understood and is skipped: " + quoted(line.at("text")),
                  "correct the line, or take it away");
        }
        for (const json& line : m_configuration.at("commented_appliances")) {
            addAt(line, ELevel::WARN, "configuration",
                  "looks like a comment and still names the appliance " + quoted(line.at("appliance")),
                  "take the line away, if that appliance is not meant");
        }
    }

    void checkConfiguredAppliances()
    {
        if (!m_configuration.at("appliances").empty()) return;
        const json& files = m_configuration.at("files");
        const std::string file = files.empty() ? std::string() : files.front().at("path").get<std::string>();
        add(ELevel::FAIL, "configuration", "no appliance is configured",
            "name each one there, in a line RSURL=<appliance>:<port>")
            .file = file;
    }

    /// The setting that a tool's path comes from.
    void addPlace(SCheck& check, const std::string& path) const
    {
        for (const json& value : m_configuration.at("values")) {
            const std::string folder = value.at("value").get<std::string>();
            if (!value.at("line").is_number_integer() || !folder.ends_with('/') || !path.starts_with(folder)) continue;
            check.file = textOf(value.at("file"), "");
            check.line = value.at("line").get<int64_t>();
            return;
        }
    }

    std::string shellPath() const
    {
        for (const json& tool : m_inspection.at("tools")) {
            if (tool.at("name") == "lmsh") return tool.at("path").get<std::string>();
        }
        return {};
    }

    void checkTool(const json& tool)
    {
        constexpr std::string_view FIXED = "-fixed";
        const std::string name = tool.at("name").get<std::string>();
        const std::string path = tool.at("path").get<std::string>();
        const std::string reason = textOf(tool.at("reason"), "no reason is told");
        const std::string what = "tool " + printable(name) + ": " + path;
        if (name.ends_with(FIXED)) return checkFixedTool(tool, what);
        if (!tool.at("exists").get<bool>()) {
            addPlace(add(ELevel::FAIL, "tool", what + ": " + reason,
                         "install it there, or set its folder and name in the provider's configuration"),
                     path);
        } else if (!tool.at("executable").get<bool>()) {
            addPlace(add(ELevel::FAIL, "tool", what + " cannot be run: " + reason, "chmod +x " + path), path);
        } else if (tool.at("answers").is_null()) {
            add(ELevel::OK, "tool", what + " is there; there was nothing to ask it");
        } else if (tool.at("answers").get<bool>()) {
            addAnswer(what, tool.at("seconds"));
        } else {
            addPlace(add(ELevel::FAIL, "tool", what + " does not answer: " + reason, "run it by hand, as this user"),
                     path);
        }
    }

    // The provider looks for its shell at this path whatever is configured, and does not start without it.
    void checkFixedTool(const json& tool, const std::string& what)
    {
        const std::string path = tool.at("path").get<std::string>();
        if (path == shellPath()) return;
        if (tool.at("exists").get<bool>() && tool.at("executable").get<bool>()) {
            add(ELevel::OK, "tool", what + " is there");
            return;
        }
        add(ELevel::FAIL, "tool",
            what + ": " + textOf(tool.at("reason"), "not there") +
                "; the provider insists on this path, also beside a configured one",
            "mkdir -p " + path.substr(0, path.rfind('/')) + " && ln -s " + shellPath() + " " + path);
    }

    void addAnswer(const std::string& what, const json& seconds)
    {
        constexpr double SLOW = 30;
        const double taken = seconds.is_number() ? seconds.get<double>() : 0;
        char time[32];
        std::snprintf(time, sizeof time, "%.2f", taken);
        if (taken < SLOW) {
            add(ELevel::OK, "tool", what + " answers, in " + time + " s");
        } else {
            add(ELevel::WARN, "tool", what + " needs " + time + " s for an answer", "find out what keeps it so long");
        }
    }

    void checkHost()
    {
        const json& host = m_inspection.at("host");
        const std::string reason = textOf(host.at("reason"), "");
        const char* const next = "set LOCAL_NAME in section FI_NETWORK of the provider's configuration";
        if (!host.at("name").is_string()) {
            add(ELevel::FAIL, "host", "this host has no name" + (reason.empty() ? "" : ": " + reason), next);
        } else if (!reason.empty()) {
            add(ELevel::WARN, "host", "this host is " + quoted(host.at("name")) + ", but " + reason,
                "make it known to the resolver, if appliances know this host by an address only");
        } else {
            add(ELevel::OK, "host", "this host is " + quoted(host.at("name")));
        }
    }

    void checkAppliance(const json& appliance)
    {
        const std::string name = "appliance " + quoted(appliance.at("name"));
        for (const json& answer : appliance.at("not_listings")) {
            const json& lines = answer.at("lines");
            locate(appliance,
                   add(ELevel::FAIL, "appliance",
                       name + ": the answer to " + quoted(answer.at("command")) + " is no listing; it begins " +
                           (lines.empty() ? "with nothing" : quoted(lines.front())),
                       "see what stands between this host and the appliance, such as a login banner"));
        }
        if (!appliance.at("reachable").get<bool>() || !appliance.at("groups_read").get<bool>()) {
            if (!appliance.at("not_listings").empty()) return;
            locate(appliance,
                   add(ELevel::FAIL, "appliance",
                       name + " does not answer: " + textOf(appliance.at("reason"), "no reason is told"),
                       "see that its name and port are right there, that it is up, and that this host reaches it"));
            return;
        }
        add(ELevel::OK, "appliance", name + " answers: " + counted(appliance.at("groups").size(), "consistency group"));
        checkGroups(appliance, name);
        if (appliance.at("hosts_read").get<bool>()) {
            checkHostHere(appliance, name);
        } else if (appliance.at("not_listings").empty()) {
            locate(appliance,
                   add(ELevel::FAIL, "appliance",
                       name + ": its hosts could not be read: " + textOf(appliance.at("reason"), "no reason is told"),
                       "have it list its hosts by hand"));
        }
    }

    void checkGroups(const json& appliance, const std::string& name)
    {
        for (const json& group : appliance.at("groups")) {
            if (group.at("read").get<bool>() && group.at("images_read").get<bool>()) continue;
            add(ELevel::WARN, "appliance",
                name + ": group " + quoted(group.at("name")) +
                    " could not be read: " + textOf(group.at("reason"), "no reason is told"),
                "run the doctor again; if it stays, look at the group on the appliance");
        }
    }

    void checkHostHere(const json& appliance, const std::string& name)
    {
        const json& here = appliance.at("host_here");
        const std::string host = textOf(m_inspection.at("host").at("name"), "");
        if (here.is_object()) {
            const bool byName = here.at("by") == "name";
            add(ELevel::OK, "host",
                name + " knows this host as " + quoted(here.at("name")) +
                    (byName ? ", by its name" : ", by an address that both have"));
            return;
        }
        add(ELevel::FAIL, "host", name + " knows no host \"" + printable(host) + "\", nor one with an address of it",
            "make this host known there by that name, or set LOCAL_NAME in section FI_NETWORK of the provider's "
            "configuration to the name that the appliance has for it");
    }

    void locate(const json& appliance, SCheck& check)
    {
        for (const json& configured : m_configuration.at("appliances")) {
            if (configured.at("name") != appliance.at("name")) continue;
            check.file = textOf(configured.at("file"), "");
            if (configured.at("line").is_number_integer()) check.line = configured.at("line").get<int64_t>();
        }
    }

    void checkDisks()
    {
        const json& disks = m_inspection.at("disks");
        if (disks.at("read").get<bool>()) {
            add(ELevel::OK, "disks", counted(disks.at("devices").size(), "disk") + " of this host can be told");
        } else {
            add(ELevel::FAIL, "disks",
                "the disks of this host cannot be told: " + textOf(disks.at("reason"), "no reason is told"),
                "see what the disk utility says when it is run by hand, as this user");
        }
    }

    const json& m_inspection;
    const json& m_configuration;
    Checks m_checks;
};

}  // namespace

Checks checkSite(const json& inspection)
{
    return CSiteCheck(inspection).run();
}

}  // namespace fictl
