#include "host/src/devices/device_use.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <system_error>
#include <tuple>

#include "base/file_descriptor.h"
#include "base/file_read.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;

/// What a path shows: the number of a block device, else the file itself.
struct STarget
{
    bool isBlock = false;
    dev_t device = 0;
    ino_t inode = 0;  // 0 for a block device: its nodes are many

    bool operator<(const STarget& other) const
    {
        return std::tie(isBlock, device, inode) < std::tie(other.isBlock, other.device, other.inode);
    }
};

STarget targetOf(const struct stat& status)
{
    if (S_ISBLK(status.st_mode)) return {true, status.st_rdev, 0};
    return {false, status.st_dev, status.st_ino};
}

std::optional<STarget> targetAt(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return targetOf(status);
}

using UsesByTarget = std::map<STarget, Uses>;

std::string firstLineOf(const fs::path& file)
{
    constexpr size_t LONGEST = 8192;  // a path and a newline, with room
    const std::string text = base::readFile(file, LONGEST).text;
    return text.substr(0, text.find('\n'));
}

bool isNumber(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// A file that a line of a process's maps names: address permissions offset device inode path.
std::optional<STarget> mappedFile(const std::string& line)
{
    unsigned first = 0;
    unsigned second = 0;
    unsigned long inode = 0;
    constexpr int FIELDS = 3;
    if (std::sscanf(line.c_str(), "%*s %*s %*s %x:%x %lu", &first, &second, &inode) != FIELDS) return std::nullopt;
    if (inode == 0) return std::nullopt;
    return STarget{false, makedev(first, second), inode};
}

// Which of the wanted targets a process has open, or, withFiles, has mapped and closed since.
std::set<STarget> openIn(const fs::path& process, const UsesByTarget& wanted, bool withFiles)
{
    std::set<STarget> found;
    std::error_code error;
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end; entry.increment(error)) {
        const std::optional<STarget> target = targetAt(entry->path());
        if (target && wanted.contains(*target)) found.insert(*target);
    }
    if (!withFiles) return found;
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        const std::optional<STarget> target = mappedFile(line);
        if (target && wanted.contains(*target)) found.insert(*target);
    }
    return found;
}

void addProcesses(UsesByTarget& uses)
{
    const bool withFiles = std::any_of(uses.begin(), uses.end(), [](const auto& use) { return !use.first.isBlock; });
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
        const std::string id = entry->path().filename();
        if (!isNumber(id) || id == std::to_string(getpid())) continue;
        for (const STarget& target : openIn(entry->path(), uses, withFiles)) {
            uses[target].push_back("open in process " + id + " (" + printable(firstLineOf(entry->path() / "comm")) +
                                   ")");
        }
    }
}

// The kernel writes blanks and backslashes of a path as octal numbers.
std::string unescaped(const std::string& text)
{
    constexpr size_t DIGITS = 3;
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        const std::string digits = text[i] == '\\' ? text.substr(i + 1, DIGITS) : std::string();
        const bool isOctal = digits.size() == DIGITS && digits.find_first_not_of("01234567") == std::string::npos;
        plain += isOctal ? static_cast<char>(std::stoi(digits, nullptr, 8)) : text[i];
        if (isOctal) i += DIGITS;
    }
    return plain;
}

std::multimap<dev_t, std::string> readMounts()
{
    std::multimap<dev_t, std::string> points;
    std::ifstream mounts("/proc/self/mountinfo");
    // id parent major:minor root mount-point ...
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string skipped;
        unsigned first = 0;
        unsigned second = 0;
        char colon = 0;
        std::string point;
        if (fields >> skipped >> skipped >> first >> colon >> second >> skipped >> point) {
            points.emplace(makedev(first, second), unescaped(point));
        }
    }
    return points;
}

void addMounts(const std::multimap<dev_t, std::string>& mounts, dev_t device, Uses& uses)
{
    const auto [begin, end] = mounts.equal_range(device);
    for (auto mount = begin; mount != end; ++mount) {
        uses.push_back("mounted on " + printable(mount->second));
    }
}

// Loop devices name the file that they show; what uses a loop device uses the file.
void addLoops(const std::multimap<dev_t, std::string>& mounts, UsesByTarget& uses)
{
    std::error_code error;
    for (fs::directory_iterator entry("/sys/block", error), end; !error && entry != end; entry.increment(error)) {
        const std::string file = firstLineOf(entry->path() / "loop/backing_file");
        const std::optional<STarget> target = file.empty() ? std::nullopt : targetAt(file);
        const auto found = target ? uses.find(*target) : uses.end();
        if (found == uses.end()) continue;
        found->second.push_back("behind /dev/" + entry->path().filename().string());
        std::istringstream number(firstLineOf(entry->path() / "dev"));
        unsigned first = 0;
        unsigned second = 0;
        char colon = 0;
        if (number >> first >> colon >> second) addMounts(mounts, makedev(first, second), found->second);
    }
}

void addExclusive(const std::string& path, Uses& uses)
{
    const base::CFileDescriptor opened(open(path.c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC));
    if (!opened && errno == EBUSY) uses.emplace_back("held by the system: an exclusive open is refused");
}

}  // namespace

std::vector<Uses> usesOf(const std::vector<std::string>& paths)
{
    const std::multimap<dev_t, std::string> mounts = readMounts();
    std::vector<std::optional<STarget>> targets;
    UsesByTarget uses;
    for (const std::string& path : paths) {
        const std::optional<STarget> target = targets.emplace_back(targetAt(path));
        if (!target) continue;
        const auto [entry, isNew] = uses.try_emplace(*target);
        if (!isNew || !target->isBlock) continue;
        addMounts(mounts, target->device, entry->second);
        if (entry->second.empty()) addExclusive(path, entry->second);
    }
    if (uses.empty()) return std::vector<Uses>(paths.size());
    addLoops(mounts, uses);
    addProcesses(uses);
    std::vector<Uses> all;
    all.reserve(paths.size());
    for (const std::optional<STarget>& target : targets) {
        all.push_back(target ? uses[*target] : Uses());
    }
    return all;
}

}  // namespace fictl
