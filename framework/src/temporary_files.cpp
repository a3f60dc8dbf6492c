#include "framework/src/temporary_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>

#include "framework/src/folder_names.h"
#include "framework/src/regular_file.h"

namespace obzx_pdk_4_4 {

namespace {

// mark = place "_" process-id "_" start-time "_"; mkostemp puts six characters behind it.
constexpr size_t RANDOM_LENGTH = 6;

// More than a file of /proc ever holds that is read here.
constexpr size_t LONGEST = 4096;

// Process ids mean the same only within one run of a machine and one namespace. Empty when it cannot be told.
std::string place()
{
    const std::optional<std::string> run = readRegularFile("/proc/sys/kernel/random/boot_id", LONGEST);
    std::error_code error;
    const std::filesystem::path processes = std::filesystem::read_symlink("/proc/self/ns/pid", error);
    if (!run || error) return {};
    uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
    for (const char c : *run + processes.string()) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    }
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

// Clock ticks between the start of the machine and that of a process; 0 for one that is not there or has ended.
// Nothing when that cannot be told: the host may be out of descriptors.
std::optional<uint64_t> startTime(pid_t pid)
{
    constexpr int BETWEEN_STATE_AND_START = 18;
    const std::optional<std::string> line = readRegularFile("/proc/" + std::to_string(pid) + "/stat", LONGEST);
    if (!line) return ::kill(pid, 0) != 0 && errno == ESRCH ? std::optional<uint64_t>(0) : std::nullopt;
    // The program's name stands in parentheses and may hold blanks and parentheses itself.
    const size_t close = line->rfind(')');
    if (close == std::string::npos) return std::nullopt;
    std::istringstream fields(line->substr(close + 1));
    std::string state, skipped;
    fields >> state;
    if (state == "Z" || state == "X") return 0;
    for (int i = 0; i < BETWEEN_STATE_AND_START; ++i) {
        fields >> skipped;
    }
    uint64_t start = 0;
    return fields >> start ? std::optional<uint64_t>(start) : std::nullopt;
}

template <class Number>
bool takeNumber(std::string_view& text, Number& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end == text.data() + text.size() || *end != '_') return false;
    text.remove_prefix(static_cast<size_t>(end - text.data()) + 1);
    return true;
}

// Whether a file's name says that it was made by a process that is gone.
bool isLeft(std::string_view name, std::string_view prefix, const std::string& here)
{
    if (!name.starts_with(prefix)) return false;
    name.remove_prefix(prefix.size());
    if (!name.starts_with(here + "_")) return false;
    name.remove_prefix(here.size() + 1);
    pid_t pid = 0;
    uint64_t start = 0;
    if (!takeNumber(name, pid) || !takeNumber(name, start) || name.size() != RANDOM_LENGTH) return false;
    if (pid <= 0 || start == 0) return false;
    const std::optional<uint64_t> present = startTime(pid);
    return present && *present != start;
}

}  // namespace

std::string temporaryFileMark()
{
    // Worked out once for each thread, and again in a forked child: it takes longer than making the file. A plain
    // array, because a thread's object with a destructor has to be registered, and the C library ends a process that
    // has no memory for that.
    thread_local pid_t known = 0;
    thread_local char mark[64];  // 16 digits, two numbers of at most 10 and 20 digits, three times "_"
    if (known != ::getpid()) {
        const std::string here = place();
        std::snprintf(mark, sizeof mark, "%s_%d_%llu_", here.c_str(), ::getpid(),
                      static_cast<unsigned long long>(startTime(::getpid()).value_or(0)));
        known = here.empty() ? 0 : ::getpid();
    }
    return mark;
}

void removeLeftTemporaryFiles(const std::string& folder, const std::string& prefix)
{
    const std::string here = place();
    if (here.empty()) return;
    for (const std::string& name : folderNames(folder)) {
        if (!isLeft(name, prefix, here)) continue;
        const std::string path = folder + "/" + name;
        struct stat status = {};
        if (::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid()) {
            ::unlink(path.c_str());
        }
    }
}

}  // namespace obzx_pdk_4_4
