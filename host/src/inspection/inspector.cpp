#include "host/src/inspection/inspector.h"

#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

#include "base/process_stat.h"
#include "framework/include/obzx_runtime.h"
#include "host/src/guardian/program.h"
#include "host/src/process/signals.h"
#include "host/src/provider/provider_library.h"
#include "host/src/recording/recording.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

using nlohmann::json;

// An inspector asks appliances side by side, each command within its own limit; this is for one that hangs by itself.
constexpr std::chrono::seconds WHOLE_LIMIT{3600};

bool isProgram(const std::filesystem::path& path)
{
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

std::string findInspector(const std::string& provider)
{
    const std::string file = CProviderLibrary::nameOf(provider) + "-inspect";
    if (provider.find('/') != std::string::npos) {
        const std::filesystem::path beside = std::filesystem::path(provider).parent_path() / file;
        if (isProgram(beside)) return beside;
    }
    const std::filesystem::path program = base::thisProgram();
    const std::filesystem::path path = (program.parent_path() / ".." / FICTL_INSPECTOR_DIR / file).lexically_normal();
    return !program.empty() && isProgram(path) ? path.string() : std::string();
}

constexpr const char* LIMIT_SECTION = "INSPECTOR";
constexpr const char* LIMIT_KEY = "MAX_DOCUMENT";

// Has the inspector tell its commands where they are recorded.
void askForRaw(std::vector<std::string>& command)
{
    if (CRecording::current() != nullptr) command.emplace_back("--raw");
}

void recordRaw(const std::string& text, std::chrono::steady_clock::time_point began)
{
    CRecording* const recording = CRecording::current();
    if (recording == nullptr) return;
    const json document = json::parse(text, nullptr, false);
    if (document.is_object() && document.contains("raw")) recording->addInspection(document["raw"], began);
}

// Bytes of a document, which takes several times as much memory once it is read.
size_t documentLimit()
{
    char* const setting = obzx_get_setting("fictl", LIMIT_SECTION, LIMIT_KEY);
    const std::string text = setting == nullptr ? "" : setting;
    obzx_free_buf(setting, 0);
    size_t limit = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), limit);
    return error == std::errc() && *end == '\0' && limit > 0 ? limit : CProgram::OUTPUT_LIMIT;
}

std::string raising(const SProgramEnd& end)
{
    return end.tooLong ? std::string("; ") + LIMIT_SECTION + "/" + LIMIT_KEY + " in /etc/qz/fictl.conf raises that"
                       : "";
}

std::string firstLineOf(const std::string& text)
{
    return printable(text.substr(0, text.find('\n')));
}

}  // namespace

CInspector::CInspector(const std::string& provider, std::chrono::seconds limit)
    : m_provider(CProviderLibrary::nameOf(provider)), m_path(findInspector(provider)), m_limit(limit)
{
    if (m_path.empty()) m_why = "provider \"" + m_provider + "\" ships no inspector";
}

std::vector<std::string> CInspector::words(std::initializer_list<std::string> first) const
{
    std::vector<std::string> words = {m_path};
    words.insert(words.end(), first);
    if (m_limit.count() > 0) words.push_back("--timeout=" + std::to_string(m_limit.count()));
    return words;
}

std::optional<SInspection> CInspector::look(const SLook& look)
{
    if (!isThere()) return std::nullopt;
    std::vector<std::string> command = look.isInventory ? words({"--inventory"}) : words({});
    std::set<std::string> appliances;
    std::set<std::string> names;
    for (const GroupKey& key : look.groups) {
        if (appliances.insert(key.first).second) command.push_back("--appliance=" + key.first);
        if (names.insert(key.second).second) command.push_back("--group=" + key.second);
    }
    askForRaw(command);
    const auto began = std::chrono::steady_clock::now();
    CProgram program(std::move(command));
    program.within(WHOLE_LIMIT).stoppingOnSignal(look.stopsOnSignal).stoppingWith(look.unwanted);
    const SProgramEnd end = program.writingAtMost(documentLimit()).run();
    if (end.exit != 0) {
        m_why = m_path + " " + end.reason + raising(end) + (end.errors.empty() ? "" : ": " + firstLineOf(end.errors));
        return std::nullopt;
    }
    recordRaw(end.output, began);
    std::string reason;
    std::optional<SInspection> inspection = SInspection::read(end.output, reason);
    m_why = inspection ? std::string() : m_path + ": " + reason;
    return inspection;
}

void CInspector::hurry()
{
    if (m_limit.count() == 0 || m_limit > SETTLING_SECONDS) m_limit = SETTLING_SECONDS;
}

std::optional<std::string> CInspector::release(const GroupKey& group, const std::string& image) const
{
    if (!isThere()) return m_why;
    std::vector<std::string> command = words({"release", "--appliance=" + group.first});
    askForRaw(command);
    command.insert(command.end(), {"--", group.second, image});
    const auto began = std::chrono::steady_clock::now();
    const SProgramEnd end = CProgram(std::move(command)).within(WHOLE_LIMIT).run();
    recordRaw(end.output, began);
    const json document = json::parse(end.output, nullptr, false);
    if (document.is_object() && document.value("released", false) && end.exit == 0) return std::nullopt;
    return document.is_object() && document.contains("reason") && document["reason"].is_string()
               ? printable(document["reason"].get<std::string>())
               : m_path + " " + (end.reason.empty() ? "gave no document" : end.reason);
}

}  // namespace fictl
