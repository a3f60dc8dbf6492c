#include "framework/src/system/temporary_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>
#include <system_error>

#include "base/process_stat.h"
#include "framework/src/system/folder_names.h"

namespace obzx_pdk_4_4 {

namespace {

// mark = place "_" process-id "_" start-time "_"; mkostemp puts six characters behind it.
constexpr size_t RANDOM_LENGTH = 6;

// Process ids mean the same only within one run of a machine and one namespace. Empty when it cannot be told.
std::string place()
{
    const std::string run = base::bootId();
    const std::string processes = base::pidNamespace();
    if (run.empty() || processes.empty()) return {};
    uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
    // The newline is the one of the identity's file: files that are there already were marked with it.
    for (const char c : run + '\n' + processes) {
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
    const std::optional<base::SProcessStat> stat = base::readProcessStat(pid);
    if (!stat) return std::nullopt;
    return stat->isGone() ? 0 : stat->startTime;
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
