// Starting a tool from a process of some size: the runtime's way, posix_spawn alone, and fork with exec.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "framework/include/cfiexecpipe.h"

namespace {

// Resident memory of the host, in small pages as most of a host's memory is.
bool makeResident(size_t size)
{
    void* const mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return false;
    madvise(mapped, size, MADV_NOHUGEPAGE);
    for (size_t i = 0; i < size; i += 4096) {
        static_cast<volatile char*>(mapped)[i] = 1;
    }
    return true;
}

bool finish(pid_t pid, int output)
{
    char buffer[4096];
    while (read(output, buffer, sizeof buffer) > 0) {
        continue;
    }
    close(output);
    int status = 0;
    return waitpid(pid, &status, 0) == pid && status == 0;
}

bool spawnBare()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    std::string program = BENCH_TOOL;
    std::string word = "list";
    char* const words[] = {program.data(), word.data(), nullptr};
    pid_t pid = -1;
    const int failed = posix_spawn(&pid, words[0], &actions, nullptr, words, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    return failed == 0 && finish(pid, ends[0]);
}

bool forkAndExec()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    const pid_t pid = fork();
    if (pid == 0) {
        const int input = open("/dev/null", O_RDONLY);
        dup2(input, STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        execl(BENCH_TOOL, BENCH_TOOL, "list", nullptr);
        _exit(127);
    }
    close(ends[1]);
    return pid > 0 && finish(pid, ends[0]);
}

bool runByRuntime()
{
    static const std::string commandLine = std::string(BENCH_TOOL) + " list";
    obzx_pdk_4_4::CFiExecPipePosix pipe(1);
    std::vector<std::string> lines;
    return pipe.Exec(commandLine, lines, "", 60, "", "", "") == 0;
}

template <bool (*Run)()>
void startTool(benchmark::State& state)
{
    for (auto _ : state) {
        if (!Run()) state.SkipWithError("the tool could not be run");
    }
}

BENCHMARK_TEMPLATE(startTool, runByRuntime)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(startTool, spawnBare)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(startTool, forkAndExec)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

// BENCH_RESIDENT_MIB is the memory that the process holds.
int main(int argc, char** argv)
{
    const char* const text = std::getenv("BENCH_RESIDENT_MIB");
    const size_t mebibytes = text == nullptr ? 10 : std::strtoul(text, nullptr, 10);
    if (!makeResident(mebibytes * 1024 * 1024)) return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
