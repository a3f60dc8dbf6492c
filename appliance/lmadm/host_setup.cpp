#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/files/file_io.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/session.h"
#include "base/process_stat.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Lines = std::vector<std::string>;

constexpr size_t MAX_FILE_SIZE = size_t{1} << 20U;
constexpr const char* APPLIANCE_PORT = "9000";

fs::path findTools(const std::string& given)
{
    std::error_code error;
    const fs::path folder =
        given.empty() ? base::thisProgram().parent_path() : fs::absolute(given, error).lexically_normal();
    for (const char* const tool : {"lmsh", "kforutil"}) {
        if (::access((folder / tool).c_str(), X_OK) != 0) {
            if (errno == EIO || errno == ENOMEM) throwStorage("look at", (folder / tool).string(), errno);
            throw EApplianceError(EStatus::MALFORMED, "no program " + std::string(tool) + " in folder " +
                                                          inQuotes(folder.string()) +
                                                          "; name the right one with --tools");
        }
    }
    return folder.has_filename() ? folder : folder.parent_path();
}

Lines readLines(const fs::path& file)
{
    Lines lines;
    if (!isThere(file)) return lines;
    std::istringstream content(readSmallFile(file, MAX_FILE_SIZE));
    for (std::string line; std::getline(content, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string join(const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    return text;
}

// Keeps what else stands there, such as the settings of a store that is the host's own.
std::string hostSettings(const fs::path& file, const fs::path& store, const std::string& host)
{
    Lines lines = readLines(file);
    std::erase_if(lines,
                  [](const std::string& line) { return line.starts_with("STORE=") || line.starts_with("HOST="); });
    lines.insert(lines.begin(), {"STORE=" + store.string(), "HOST=" + host});
    return join(lines);
}

std::string applianceList(const fs::path& file, const std::vector<SAppliance>& appliances)
{
    Lines lines = readLines(file);
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const std::string& line) { return line.find("RSURL") != std::string::npos; }),
                lines.end());
    for (const SAppliance& appliance : appliances) {
        lines.push_back("RSURL=" + appliance.name + ":" + APPLIANCE_PORT);
    }
    return join(lines);
}

// Sets one value in the lines of an INI file: in place where it stands, else at the end of its section, else in a new
// section.
void setValue(Lines& lines, const std::string& section, const std::string& key, const std::string& value)
{
    const std::string head = "[" + section + "]";
    const std::string start = key + "=";
    const std::string line = start + value;
    auto at = std::find(lines.begin(), lines.end(), head);
    if (at == lines.end()) {
        lines.push_back(head);
        lines.push_back(line);
        return;
    }
    for (++at; at != lines.end() && (at->empty() || at->front() != '['); ++at) {
        if (at->starts_with(start)) {
            *at = line;
            return;
        }
    }
    lines.insert(at, line);
}

std::string providerSettings(const fs::path& file, const fs::path& tools, const std::string& host)
{
    Lines lines = readLines(file);
    const std::string folder = tools.string() + "/";
    setValue(lines, "LMR_CLI_CONFIG", "LMR_LMSH_PATH", folder);
    setValue(lines, "LMR_CLI_CONFIG", "LMR_LMSH_NAME", "lmsh");
    setValue(lines, "LMR_CLI_CONFIG", "LMR_KFORUTIL_PATH", folder);
    setValue(lines, "LMR_CLI_CONFIG", "LMR_KFORUTIL_NAME", "kforutil");
    setValue(lines, "FI_NETWORK", "LOCAL_NAME", host);
    return join(lines);
}

void checkHostIsKnown(CSession& session, const std::vector<SAppliance>& appliances, const std::string& host)
{
    for (const SAppliance& appliance : appliances) {
        for (const SHost& known : session.inventory().hosts(appliance)) {
            if (known.name == host) return;
        }
    }
    throwMissing(EObject::HOST, host, "on any appliance of the store");
}

}  // namespace

void setUpHost(const SOptions& options, const SHostSetup& setup)
{
    CSession session(options);
    checkName(EObject::HOST, setup.host);
    const std::vector<SAppliance> appliances = session.inventory().appliances();
    checkHostIsKnown(session, appliances, setup.host);
    const fs::path tools = findTools(setup.tools);
    constexpr mode_t PASSABLE_BY_ALL = 0755;
    makeFolder(setup.root, PASSABLE_BY_ALL);
    const fs::path root = fs::canonical(setup.root);
    const fs::path folder = root / "etc/qz";
    constexpr mode_t READABLE_BY_ALL = 0644;

    replaceFile(folder / "appliance.conf",
                hostSettings(folder / "appliance.conf", session.store().layout().root, setup.host), READABLE_BY_ALL);
    replaceFile(folder / "hls.conf", applianceList(folder / "hls.conf", appliances), READABLE_BY_ALL);
    replaceFile(folder / "cdpfi.conf", providerSettings(folder / "cdpfi.conf", tools, setup.host), READABLE_BY_ALL);
    const fs::path link = root / "opt/QXPKlm/bin/lmsh";
    replaceLink(link, tools / "lmsh");

    Json written = Json::array();
    for (const char* const name : {"appliance.conf", "hls.conf", "cdpfi.conf"}) {
        written.push_back((folder / name).string());
    }
    written.push_back(link.string());
    session.print({{"host", setup.host}, {"root", root.string()}, {"tools", tools.string()}, {"written", written}});
}

}  // namespace lumora
