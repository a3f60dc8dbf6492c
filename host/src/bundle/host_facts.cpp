#include "host/src/bundle/host_facts.h"

#include <link.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "base/file_read.h"
#include "base/process_stat.h"
#include "framework/include/obzx_runtime.h"
#include "host/src/bundle/digest.h"
#include "host/src/catalog/catalog_place.h"
#include "host/src/catalog/history_table.h"
#include "host/src/output/private_folder.h"
#include "host/src/process/placed_path.h"
#include "host/src/provider/provider_library.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;

// fictl's own values, by section and key.
constexpr const char* OWN_VALUES[][2] = {{"CATALOG", "HISTORY_BYTES"},  {"CATALOG", "HISTORY_DAYS"},
                                         {"CATALOG", "OWNERS"},         {"DRY_RUN", "TOOLS"},
                                         {"INSPECTOR", "MAX_DOCUMENT"}, {"RECEIVE", "PROVIDERS"}};

constexpr struct
{
    __rlimit_resource resource;
    const char* name;
} RESOURCES[] = {{RLIMIT_AS, "address_space"}, {RLIMIT_CORE, "core"},       {RLIMIT_CPU, "cpu_seconds"},
                 {RLIMIT_DATA, "data"},        {RLIMIT_FSIZE, "file_size"}, {RLIMIT_NOFILE, "open_files"},
                 {RLIMIT_NPROC, "processes"},  {RLIMIT_STACK, "stack"}};

json fileJson(const std::string& path)
{
    constexpr size_t LARGEST = size_t{64} * 1024 * 1024;
    std::error_code ignored;
    const fs::path real = fs::canonical(path, ignored);
    const base::SFileText file = base::readFile(path, LARGEST);
    return {{"path", path},
            {"file", real.empty() ? json() : json(real.filename().string())},
            {"size", file ? json(file.text.size()) : json()},
            {"sha256", file ? json(sha256Of(file.text)) : json()},
            {"reason", file ? json() : json(base::reasonOf(file, LARGEST))}};
}

int addLibrary(dl_phdr_info* info, size_t /*size*/, void* user)
{
    const std::string path = info->dlpi_name == nullptr ? "" : info->dlpi_name;
    if (path.starts_with('/')) static_cast<json*>(user)->push_back(fileJson(path));
    return 0;
}

json kernelJson()
{
    utsname system{};
    if (uname(&system) != 0) return nullptr;
    return {{"system", system.sysname}, {"release", system.release}, {"machine", system.machine}};
}

json pathJson(const SNamedPath& entry)
{
    json document = {{"what", entry.what}, {"path", entry.path}};
    struct stat status = {};
    document["there"] = stat(entry.path.c_str(), &status) == 0;
    if (!document["there"].get<bool>()) {
        document["reason"] = std::error_code(errno, std::generic_category()).message();
        return document;
    }
    char mode[16];
    std::snprintf(mode, sizeof mode, "%07o", status.st_mode);
    document["mode"] = mode;
    document["user"] = status.st_uid;
    document["group"] = status.st_gid;
    document["size"] = status.st_size;
    document["modified"] = utcSecondsText(UtcTime(std::chrono::seconds(status.st_mtim.tv_sec)));
    document["readable"] = access(entry.path.c_str(), R_OK) == 0;
    document["writable"] = access(entry.path.c_str(), W_OK) == 0;
    document["executable"] = access(entry.path.c_str(), X_OK) == 0;
    struct statvfs space = {};
    if (S_ISDIR(status.st_mode) && statvfs(entry.path.c_str(), &space) == 0) {
        document["free_bytes"] = uint64_t{space.f_bavail} * space.f_frsize;
        document["read_only"] = (space.f_flag & ST_RDONLY) != 0;
    }
    return document;
}

json limitJson(rlim_t limit)
{
    return limit == RLIM_INFINITY ? json() : json(limit);
}

json ownValues()
{
    json values = json::array();
    for (const auto& [section, key] : OWN_VALUES) {
        char* const setting = obzx_get_setting("fictl", section, key);
        values.push_back({{"name", std::string(section) + "/" + key}, {"value", setting ? json(setting) : json()}});
        obzx_free_buf(setting, 0);
    }
    return values;
}

std::string valueOf(const json& inspection, const std::string& name, const std::string& otherwise)
{
    if (!inspection.is_object()) return otherwise;
    for (const json& entry : inspection["configuration"]["values"]) {
        if (entry.value("name", "") == name) return entry.value("value", otherwise);
    }
    return otherwise;
}

}  // namespace

std::string tracePath(const std::string& provider, const json& inspection)
{
    return placedPath(
        valueOf(inspection, "FI_TRACE/FILE", "/var/log/qz/" + CProviderLibrary::nameOf(provider) + ".log"));
}

std::vector<SNamedPath> pathsOfSite(const std::string& provider, const SDiagnosis& diagnosis)
{
    std::vector<SNamedPath> paths = {{"configuration", placedPath("/etc/qz/fictl.conf")},
                                     {"provider", CProviderLibrary::pathOf(provider)},
                                     {"trace", tracePath(provider, diagnosis.inspection)},
                                     {"temporary", temporaryFolder()},
                                     {"program", base::thisProgram()}};
    for (const char* const suffix : {"", "-wal", "-shm", "-owners"}) {
        paths.push_back({"catalog", catalogPath() + suffix});
    }
    if (!diagnosis.inspection.is_object()) return paths;
    for (const json& file : diagnosis.inspection["configuration"]["files"]) {
        paths.push_back({"configuration", file.value("path", "")});
    }
    for (const json& tool : diagnosis.inspection["tools"]) {
        paths.push_back({"tool", tool.value("path", "")});
    }
    return paths;
}

json versionsJson(const SDiagnosis& diagnosis)
{
    json libraries = json::array();
    dl_iterate_phdr(addLibrary, &libraries);
    json provider;
    if (diagnosis.provider.is_object()) {
        for (const char* const key : {"name", "announced_name", "version", "interface", "started", "methods"}) {
            provider[key] = diagnosis.provider.value(key, json());
        }
        provider["library"] = fileJson(diagnosis.provider.value("path", ""));
    }
    json tools = json::array();
    if (diagnosis.inspection.is_object()) {
        for (const json& tool : diagnosis.inspection["tools"]) {
            json file = fileJson(tool.value("path", ""));
            file["name"] = tool.value("name", "");
            tools.push_back(std::move(file));
        }
    }
    return {{"fictl", {{"version", FICTL_VERSION}, {"program", fileJson(base::thisProgram())}}},
            {"provider", std::move(provider)},
            {"inspector",
             diagnosis.inspection.is_object() ? diagnosis.inspection.value("provider_version", json()) : json()},
            {"libraries", std::move(libraries)},
            {"kernel", kernelJson()},
            {"tools", std::move(tools)}};
}

json permissionsJson(const std::vector<SNamedPath>& paths)
{
    json list = json::array();
    std::set<std::string> folders;
    for (const SNamedPath& entry : paths) {
        list.push_back(pathJson(entry));
        folders.insert(fs::path(entry.path).parent_path());
    }
    for (const std::string& folder : folders) {
        list.push_back(pathJson({"folder", folder}));
    }
    return {{"user", geteuid()}, {"group", getegid()}, {"paths", std::move(list)}};
}

json limitsJson()
{
    json resources = json::object();
    for (const auto& [resource, name] : RESOURCES) {
        rlimit limit{};
        if (getrlimit(resource, &limit) != 0) continue;
        resources[name] = {{"soft", limitJson(limit.rlim_cur)}, {"hard", limitJson(limit.rlim_max)}};
    }
    const SHistoryLimits history = SHistoryLimits::current();
    return {{"resources", std::move(resources)}, {"history", {{"days", history.days}, {"bytes", history.bytes}}}};
}

json configurationJson(const json& inspection)
{
    json document = inspection.is_object() ? inspection["configuration"] : json::object();
    document["fictl"] = ownValues();
    return document;
}

std::string configurationText(const json& inspection)
{
    std::map<std::string, std::string> sections;
    if (!inspection.is_object()) return {};
    for (const json& value : inspection["configuration"]["values"]) {
        const std::string name = value.value("name", "");
        const size_t slash = name.find('/');
        if (slash == std::string::npos || value.value("file", json()).is_null()) continue;
        sections[name.substr(0, slash)] += name.substr(slash + 1) + "=" + value.value("value", "") + "\n";
    }
    std::string text;
    for (const auto& [section, lines] : sections) {
        text += "[" + section + "]\n" + lines;
    }
    return text;
}

}  // namespace fictl
