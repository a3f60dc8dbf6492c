#include "host/src/doctor/doctor.h"

#include "host/src/catalog/catalog_place.h"
#include "host/src/doctor/catalog_checks.h"
#include "host/src/doctor/file_checks.h"
#include "host/src/doctor/site_checks.h"
#include "host/src/guardian/program.h"
#include "host/src/inspection/inspector.h"
#include "host/src/output/error.h"
#include "host/src/process/placed_path.h"
#include "host/src/process/signals.h"
#include "host/src/provider/provider_library.h"
#include "host/src/recording/part_of_recording.h"
#include "host/src/schedule/jobs.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

class CDoctor
{
  public:
    explicit CDoctor(const SDoctorOrder& order) : m_order(order) {}

    SDiagnosis run()
    {
        look();
        add(checkOwnConfiguration());
        checkRights();
        checkTrace();
        add({checkTemporaryFolder()});
        m_order.progress.step("look at the catalog");
        add(checkCatalog(catalogPath()));
        stopPoint();
        checkProvider();
        return {std::move(m_checks), std::move(m_seen), std::move(m_shown)};
    }

  private:
    void add(const Checks& checks) { m_checks.insert(m_checks.end(), checks.begin(), checks.end()); }

    void look()
    {
        CInspector inspector(m_order.provider, m_order.timeout);
        if (!inspector.isThere()) {
            add({{ELevel::WARN, "inspector",
                  inspector.why() + ": configuration, tools and appliances cannot be looked at without starting it",
                  "install the inspector beside the provider, if there is one"}});
            return;
        }
        m_inspector = inspector.path();
        m_order.progress.step("look at configuration, tools and appliances");
        std::optional<SInspection> seen = inspector.look({});
        stopPoint();
        if (!seen) {
            add({{ELevel::FAIL, "inspector", inspector.why(), "run it by hand: " + m_inspector}});
            return;
        }
        add({{ELevel::OK, "inspector", "inspector " + m_inspector + " answers"}});
        m_seen = *seen->document;
        try {
            add(checkSite(m_seen));
        } catch (const json::exception& error) {
            add({{ELevel::FAIL, "inspector", m_inspector + ": its document cannot be read: " + error.what(),
                  "install the inspector that belongs to the provider"}});
        }
    }

    /// A configuration value that the inspector told.
    std::string value(const char* name, const std::string& otherwise) const
    {
        if (!m_seen.is_object()) return otherwise;
        for (const json& entry : m_seen["configuration"]["values"]) {
            if (entry.value("name", "") == name) return entry.value("value", otherwise);
        }
        return otherwise;
    }

    void checkRights()
    {
        const std::string provider = m_order.provider;
        add(checkTrusted("provider", CProviderLibrary::pathOf(provider)));
        if (!m_inspector.empty()) add(checkTrusted("inspector", m_inspector));
        for (const std::string& path : jobPaths()) {
            add(checkTrusted("jobs", path));
        }
        if (!m_seen.is_object()) return;
        for (const json& file : m_seen["configuration"]["files"]) {
            add(checkTrusted("configuration", file.value("path", "")));
        }
        for (const json& tool : m_seen["tools"]) {
            add(checkTrusted("tool", tool.value("path", "")));
        }
    }

    void checkTrace()
    {
        const std::string provider = CProviderLibrary::nameOf(m_order.provider);
        const std::string path = placedPath(value("FI_TRACE/FILE", "/var/log/qz/" + provider + ".log"));
        add({checkTraceFile(path, std::strtoull(value("FI_TRACE/MAX_SIZE", "0").c_str(), nullptr, 10))});
    }

    // By another fictl: a library that crashes or hangs when it is loaded must not take the doctor with it.
    void checkProvider()
    {
        m_order.progress.step("start the provider");
        const std::string provider = m_order.provider;
        const std::string name = "provider \"" + CProviderLibrary::nameOf(provider) + "\"";
        std::vector<std::string> words = {"/proc/self/exe",
                                          "--output",
                                          "json",
                                          "--provider",
                                          provider,
                                          "--timeout",
                                          std::to_string(m_order.timeout.count())};
        const CPartOfRecording recorded(words);
        words.insert(words.end(), {"provider", "show"});
        const SProgramEnd end = CProgram(std::move(words)).within(10 * m_order.timeout).stoppingOnSignal(true).run();
        stopPoint();
        const json document = json::parse(end.output, nullptr, false);
        const char* const next = "install the provider again, or name the right one with --provider";
        if (!document.is_object() || (end.exit != 0 && !document.contains("error"))) {
            add({{ELevel::FAIL, "provider", name + " cannot be loaded: fictl provider show " + end.reason, next}});
        } else if (document.contains("error")) {
            add({{ELevel::FAIL, "provider", document["error"].value("message", name + " cannot be loaded"), next}});
        } else {
            m_shown = document.at("provider");
            add({startCheck(name, m_shown)});
        }
    }

    static SCheck startCheck(const std::string& name, const json& shown)
    {
        const std::string loaded = name + " (" + shown.value("path", "") + ") loads with all its entry points";
        if (shown.value("started", false)) return {ELevel::OK, "provider", loaded + " and starts"};
        std::string reasons;
        for (const json& detail : shown.at("not_started").at("details")) {
            reasons += (reasons.empty() ? ": " : " / ") + detail.get<std::string>();
        }
        return {ELevel::FAIL, "provider", loaded + ", but does not start" + reasons, "mend what else is told here"};
    }

    const SDoctorOrder& m_order;
    std::string m_inspector;
    json m_seen;   // the inspector's document; null without one
    json m_shown;  // what the provider tells of itself; null when it could not be loaded
    Checks m_checks;
};

}  // namespace

SDiagnosis diagnose(const SDoctorOrder& order)
{
    return CDoctor(order).run();
}

}  // namespace fictl
