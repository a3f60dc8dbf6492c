#include "base/process_stat.h"

#include <cerrno>
#include <csignal>
#include <sstream>
#include <system_error>

#include "base/file_read.h"

namespace base {

namespace {

// More than a file of /proc ever holds that is read here.
constexpr size_t LONGEST = 4096;

std::string linkTarget(const char* link)
{
    std::error_code error;
    std::string target = std::filesystem::read_symlink(link, error).string();
    if (error) errno = error.value();
    return target;
}

// The program's name stands in parentheses and may hold blanks and parentheses itself, so the fields are counted from
// the last closing one.
std::optional<SProcessStat> parseStat(const std::string& line)
{
    constexpr int BETWEEN_STATE_AND_START = 18;
    const size_t close = line.rfind(')');
    if (close == std::string::npos) return std::nullopt;
    std::istringstream fields(line.substr(close + 1));
    SProcessStat stat;
    std::string skipped;
    fields >> stat.state;
    for (int i = 0; i < BETWEEN_STATE_AND_START; ++i) {
        fields >> skipped;
    }
    if (!(fields >> stat.startTime)) return std::nullopt;
    return stat;
}

}  // namespace

std::optional<SProcessStat> readProcessStat(pid_t pid)
{
    const SFileText line = readFile("/proc/" + std::to_string(pid) + "/stat", LONGEST);
    if (line) return parseStat(line.text);
    const bool isGone = pid > 0 && ::kill(pid, 0) != 0 && errno == ESRCH;
    return isGone ? std::optional<SProcessStat>(SProcessStat{}) : std::nullopt;
}

std::string bootId()
{
    std::string id = readFile("/proc/sys/kernel/random/boot_id", LONGEST).text;
    return id.substr(0, id.find('\n'));
}

std::string pidNamespace()
{
    return linkTarget("/proc/self/ns/pid");
}

std::filesystem::path thisProgram()
{
    return linkTarget("/proc/self/exe");
}

}  // namespace base
