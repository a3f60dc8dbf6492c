#include "host/src/process_identity.h"

#include <unistd.h>

#include <fstream>
#include <sstream>

namespace fictl {

namespace {

std::string bootId()
{
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    std::getline(file, id);
    return id;
}

struct SProcStat
{
    char state = 'X';
    int64_t startTime = -1;
};

// The program name in /proc/<pid>/stat stands in parentheses and may hold blanks and parentheses itself, so the fields
// are counted from the last closing one. State is field 3, the start time field 22.
SProcStat readStat(int64_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t close = line.rfind(')');
    if (close == std::string::npos) return {};
    std::istringstream fields(line.substr(close + 1));
    SProcStat stat;
    fields >> stat.state;
    std::string skipped;
    constexpr int BETWEEN = 18;
    for (int i = 0; i < BETWEEN; ++i) {
        fields >> skipped;
    }
    if (!(fields >> stat.startTime)) return {};
    return stat;
}

}  // namespace

SProcessIdentity thisProcess()
{
    return {getpid(), bootId(), readStat(getpid()).startTime};
}

bool isAlive(const SProcessIdentity& process)
{
    if (process.pid <= 0 || process.bootId != bootId()) return false;
    const SProcStat stat = readStat(process.pid);
    return stat.startTime == process.startTime && stat.startTime >= 0 && stat.state != 'Z' && stat.state != 'X';
}

}  // namespace fictl
