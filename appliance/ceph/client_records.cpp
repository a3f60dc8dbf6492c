#include "appliance/ceph/client_records.h"

#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/key_values.h"
#include "base/process_stat.h"

namespace lumora {
namespace fs = std::filesystem;

namespace {

constexpr const char* ADDRESS = "ADDRESS";
constexpr const char* PROCESS = "PROCESS";
constexpr const char* START = "START";  // clock ticks since the start of the machine
constexpr const char* BOOT = "BOOT";
constexpr const char* NAMESPACE = "NAMESPACE";

template <class Number>
std::optional<Number> numberOf(const std::string& text)
{
    Number number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || rest != text.data() + text.size()) return std::nullopt;
    return number;
}

// Whether the process of a record is gone for certain.
bool isGone(std::map<std::string, std::string>& record)
{
    const std::string boot = base::bootId();
    const std::string space = base::pidNamespace();
    if (boot.empty() || record[BOOT] != boot || space.empty() || record[NAMESPACE] != space) return false;
    const std::optional<pid_t> process = numberOf<pid_t>(record[PROCESS]);
    const std::optional<uint64_t> start = numberOf<uint64_t>(record[START]);
    if (!process || !start) return false;
    const std::optional<base::SProcessStat> now = base::readProcessStat(*process);
    return now && (now->isGone() || now->startTime != *start);
}

}  // namespace

CClientRecords::CClientRecords(fs::path folder) : m_folder(std::move(folder)) {}

fs::path CClientRecords::fileOf(const std::string& address) const
{
    std::string name = address;
    std::replace(name.begin(), name.end(), '/', '_');
    return m_folder / name;
}

void CClientRecords::add(const std::string& address, pid_t process) const
{
    const std::optional<base::SProcessStat> stat = base::readProcessStat(process);
    if (!stat) throw EApplianceError(EStatus::STORAGE, "cannot look at process " + std::to_string(process));
    makeFolder(m_folder);
    const auto line = [](const char* key, const std::string& value) { return key + ("=" + value) + "\n"; };
    const fs::path file = fileOf(address);
    // One that was cut short names no address, and so counts for nothing. A restart takes the folder: nothing to sync.
    writeAt(openFile(file, O_WRONLY | O_CREAT | O_TRUNC).get(),
            line(PROCESS, std::to_string(process)) + line(START, std::to_string(stat->startTime)) +
                line(BOOT, base::bootId()) + line(NAMESPACE, base::pidNamespace()) + line(ADDRESS, address),
            0, file);
}

void CClientRecords::remove(const std::string& address) const noexcept
{
    std::error_code ignored;
    fs::remove(fileOf(address), ignored);
}

std::vector<std::string> CClientRecords::gone() const
{
    std::vector<std::string> addresses;
    std::error_code error;
    for (fs::directory_iterator entry(m_folder, error), end; !error && entry != end; entry.increment(error)) {
        try {
            std::map<std::string, std::string> record = readKeyValues(entry->path());
            if (fileOf(record[ADDRESS]) == entry->path() && isGone(record)) addresses.push_back(record[ADDRESS]);
        } catch (const EApplianceError&) {
            continue;  // removed by its client meanwhile
        }
    }
    return addresses;
}

}  // namespace lumora
