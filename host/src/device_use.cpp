#include "host/src/device_use.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "host/src/names.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;

/// What a path shows: the device of a block device, else the file itself.
struct STarget
{
    struct stat status = {};
    bool isBlock = false;

    bool isSame(const struct stat& other) const
    {
        if (isBlock) return S_ISBLK(other.st_mode) && other.st_rdev == status.st_rdev;
        return other.st_dev == status.st_dev && other.st_ino == status.st_ino;
    }
};

std::string firstLineOf(const fs::path& file)
{
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

bool isNumber(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Whether a process has it open, or has mapped it and closed it since.
bool hasOpen(const fs::path& process, const STarget& target)
{
    std::error_code error;
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end; entry.increment(error)) {
        struct stat status = {};
        if (stat(entry->path().c_str(), &status) == 0 && target.isSame(status)) return true;
    }
    if (target.isBlock) return false;
    std::ifstream maps(process / "maps");
    const std::string inode = std::to_string(target.status.st_ino);
    char device[32];
    std::snprintf(device, sizeof device, "%02x:%02x", major(target.status.st_dev), minor(target.status.st_dev));
    // address permissions offset device inode path
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::string skipped;
        std::string itsDevice;
        std::string itsInode;
        if (fields >> skipped >> skipped >> skipped >> itsDevice >> itsInode && itsInode == inode &&
            itsDevice == device)
            return true;
    }
    return false;
}

void addProcesses(const STarget& target, std::vector<std::string>& uses)
{
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
        const std::string id = entry->path().filename();
        if (!isNumber(id) || id == std::to_string(getpid()) || !hasOpen(entry->path(), target)) continue;
        uses.push_back("open in process " + id + " (" + printable(firstLineOf(entry->path() / "comm")) + ")");
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

void addMounts(dev_t device, std::vector<std::string>& uses)
{
    const std::string number = std::to_string(major(device)) + ":" + std::to_string(minor(device));
    std::ifstream mounts("/proc/self/mountinfo");
    // id parent major:minor root mount-point ...
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string skipped;
        std::string itsNumber;
        std::string point;
        if (fields >> skipped >> skipped >> itsNumber >> skipped >> point && itsNumber == number) {
            uses.push_back("mounted on " + printable(unescaped(point)));
        }
    }
}

// Loop devices name the file that they show; what uses a loop device uses the file.
void addLoops(const STarget& target, std::vector<std::string>& uses)
{
    std::error_code error;
    for (fs::directory_iterator entry("/sys/block", error), end; !error && entry != end; entry.increment(error)) {
        const std::string file = firstLineOf(entry->path() / "loop/backing_file");
        struct stat status = {};
        if (file.empty() || stat(file.c_str(), &status) != 0 || !target.isSame(status)) continue;
        uses.push_back("behind /dev/" + entry->path().filename().string());
        std::istringstream number(firstLineOf(entry->path() / "dev"));
        unsigned first = 0;
        unsigned second = 0;
        char colon = 0;
        if (number >> first >> colon >> second) addMounts(makedev(first, second), uses);
    }
}

void addExclusive(const std::string& path, std::vector<std::string>& uses)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC);
    if (descriptor >= 0) {
        close(descriptor);
    } else if (errno == EBUSY) {
        uses.emplace_back("held by the system: an exclusive open is refused");
    }
}

}  // namespace

std::vector<std::string> usesOf(const std::string& path)
{
    std::vector<std::string> uses;
    STarget target;
    if (stat(path.c_str(), &target.status) != 0) return uses;
    target.isBlock = S_ISBLK(target.status.st_mode);
    if (target.isBlock) {
        addMounts(target.status.st_rdev, uses);
        if (uses.empty()) addExclusive(path, uses);
    } else {
        addLoops(target, uses);
    }
    addProcesses(target, uses);
    return uses;
}

}  // namespace fictl
