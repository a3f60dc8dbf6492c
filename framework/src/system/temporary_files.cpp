#include "framework/src/system/temporary_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

#include "base/process_stat.h"
#include "base/temporary_file_name.h"
#include "framework/src/system/folder_names.h"

namespace obzx_pdk_4_4 {

namespace {

// Empty when it cannot be told.
std::string place()
{
    return base::processPlace(base::bootId(), base::pidNamespace());
}

// Clock ticks between the start of the machine and that of a process; 0 for one that is not there or has ended.
// Nothing when that cannot be told: the host may be out of descriptors.
std::optional<uint64_t> startTime(pid_t pid)
{
    const std::optional<base::SProcessStat> stat = base::readProcessStat(pid);
    if (!stat) return std::nullopt;
    return stat->isGone() ? 0 : stat->startTime;
}

// Whether a file's name says that it was made by a process that is gone.
bool isLeft(std::string_view name, std::string_view prefix, const std::string& here)
{
    const std::optional<base::STemporaryFileMaker> maker = base::temporaryFileMaker(name, prefix);
    if (!maker || maker->place != here) return false;
    const std::optional<uint64_t> present = startTime(maker->pid);
    return present && *present != maker->startTime;
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
