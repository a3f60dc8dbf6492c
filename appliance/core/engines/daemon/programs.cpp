#include "appliance/core/engines/daemon/programs.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"
#include "base/child_process.h"
#include "base/child_start.h"
#include "base/poll_until.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Clock = std::chrono::steady_clock;

struct SPackage
{
    const char* program;
    const char* package;
};
constexpr std::array<SPackage, 7> PACKAGES = {{{"qemu-storage-daemon", "qemu-system-common"},
                                               {"qemu-img", "qemu-utils"},
                                               {"nbdfuse", "libnbd-bin"},
                                               {"nbdkit", "nbdkit"},
                                               {"fusermount3", "fuse3"},
                                               {"nbd-client", "nbd-client"},
                                               {"rbd", "ceph-common"}}};
constexpr size_t TAIL = 4096;

// Where the search path may find it.
std::vector<std::string> pathsOf(const std::string& program)
{
    if (program.find('/') != std::string::npos) return {program};
    const char* const given = std::getenv("PATH");  // NOLINT(concurrency-mt-unsafe): nobody sets it
    const std::string path = given == nullptr || *given == '\0' ? "/usr/bin:/bin" : given;
    std::vector<std::string> paths;
    for (size_t begin = 0; begin <= path.size();) {
        const size_t end = std::min(path.find(':', begin), path.size());
        if (end > begin) paths.push_back(path.substr(begin, end - begin) + "/" + program);
        begin = end + 1;
    }
    return paths;
}

std::string packageOf(const std::string& program)
{
    for (const SPackage& known : PACKAGES) {
        if (program == known.program) return known.package;
    }
    return program;
}

}  // namespace

bool isOnSearchPath(const std::string& program)
{
    for (const std::string& path : pathsOf(program)) {
        if (::access(path.c_str(), X_OK) == 0) return true;
    }
    return false;
}

void checkPrograms(const std::string& who, const std::vector<std::string>& programs)
{
    for (const std::string& program : programs) {
        if (isOnSearchPath(program)) continue;
        throw EApplianceError(EStatus::UNUSABLE,
                              who + " needs the program " + program + ": install the package " + packageOf(program));
    }
}

pid_t startProgram(const std::vector<std::string>& words, const fs::path& log)
{
    const base::CFileDescriptor nothing = base::aboveStandard(base::openInput());
    const base::CFileDescriptor output = base::aboveStandard(openFile(log, O_WRONLY | O_CREAT | O_APPEND));
    if (!nothing || !output) throwStorage("open", log.string(), errno);
    base::SChildStart start;
    start.programs = pathsOf(words.front());
    start.words = words;
    start.input = nothing.get();
    start.output = output.get();
    start.errors = output.get();
    pid_t pid = -1;
    const int error = base::startChild(start, pid);
    if (error == ENOENT) {
        throw EApplianceError(EStatus::STORAGE,
                              "cannot start " + words.front() + ": install the package " + packageOf(words.front()));
    }
    if (error != 0) throwStorage("start", words.front(), error);
    return pid;
}

void runProgram(const std::vector<std::string>& words, const fs::path& log, std::chrono::milliseconds patience)
{
    base::CChildProcess process(startProgram(words, log));
    const Clock::time_point end = Clock::now() + patience;
    bool isLate = false;
    while (!process.hasEnded()) {
        pollfd ended = {process.descriptor(), POLLIN, 0};
        base::pollUntil({&ended, 1}, std::min(end, process.lookAt()));
        if (isLate || Clock::now() < end) continue;
        isLate = true;
        process.kill();
    }
    const base::SExitStatus& status = process.exitStatus();
    if (!isLate && !status.lost && status.exit == 0 && status.signal == 0) return;
    const std::string said = lastLineOf(log);
    throw EApplianceError(EStatus::STORAGE,
                          words.front() + (isLate ? " does not end" : " failed") + (said.empty() ? "" : ": " + said));
}

std::string lastLineOf(const fs::path& log)
{
    try {
        const base::CFileDescriptor file = openFile(log, O_RDONLY);
        const off_t size = ::lseek(file.get(), 0, SEEK_END);
        std::string text(TAIL, '\0');
        const uint64_t start = size > static_cast<off_t>(TAIL) ? static_cast<uint64_t>(size) - TAIL : 0;
        text.resize(readAt(file.get(), text.data(), text.size(), start, log));
        while (!text.empty() && text.back() == '\n') {
            text.pop_back();
        }
        return text.substr(text.rfind('\n') + 1);
    } catch (const EApplianceError&) {
        return "";
    }
}

}  // namespace lumora
