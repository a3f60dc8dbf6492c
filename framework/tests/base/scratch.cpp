#include "framework/tests/base/scratch.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>

namespace obzx_test {

namespace fs = std::filesystem;

std::vector<std::string> readLines(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

void writeFile(const std::string& path, const std::string& content)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

ACE_String_Base<char> text(const std::string& content)
{
    return {content.data(), content.size()};
}

namespace {

constexpr size_t MOST_BLOCKS = 64;
constexpr int NO_MEMORY = 1;

/// Leaves a process nothing but one piece of memory, of a number of blocks of 4 KiB.
void leaveBlocks(size_t blocks)
{
    constexpr size_t BLOCK = 4096;
    ::mallopt(M_MMAP_THRESHOLD, 2 * MOST_BLOCKS * BLOCK);
    void* const piece = std::malloc(blocks * BLOCK);
    size_t pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r"); file != nullptr) {
        if (std::fscanf(file, "%zu", &pages) != 1) ::_exit(2);
        std::fclose(file);
    }
    const rlimit limit = {pages * BLOCK, pages * BLOCK};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(2);
    for (size_t size = BLOCK; size >= 16; size /= 2) {
        while (std::malloc(size) != nullptr)
            continue;
    }
    std::free(piece);
}

[[noreturn]] void runAndExit(size_t blocks, const std::function<bool()>& action)
{
    leaveBlocks(blocks);
    try {
        ::_exit(action() ? 0 : 3);
    } catch (const std::bad_alloc&) {
        ::_exit(NO_MEMORY);
    }
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
void CScratch::runWithLittleMemory(const std::function<bool()>& /*action*/) {}
#else
void CScratch::runWithLittleMemory(const std::function<bool()>& action)
{
    int failed = 0;
    int done = 0;
    for (size_t blocks = 0; blocks <= MOST_BLOCKS; ++blocks) {
        const pid_t child = ::fork();
        if (child == 0) runAndExit(blocks, action);
        int status = 0;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        ASSERT_TRUE(WIFEXITED(status)) << "with " << blocks << " blocks: signal " << WTERMSIG(status);
        EXPECT_LE(WEXITSTATUS(status), NO_MEMORY) << "with " << blocks << " blocks";
        failed += WEXITSTATUS(status) == NO_MEMORY ? 1 : 0;
        done += WEXITSTATUS(status) == 0 ? 1 : 0;
    }
    EXPECT_GT(failed, 0);
    EXPECT_GT(done, 0);
}
#endif

CScratch::CScratch()
{
    std::string pattern = testing::TempDir() + "obzxXXXXXX";
    m_root = ::mkdtemp(pattern.data());
    ::setenv("OBZX_ROOT", m_root.c_str(), 1);
    ::unsetenv("OBZX_TRACE_LEVEL");
}

CScratch::~CScratch()
{
    ::unsetenv("OBZX_ROOT");
    ::unsetenv("OBZX_TRACE_LEVEL");
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

void CScratch::configure(const std::string& content) const
{
    writeFile(m_root + "/etc/qz/unit.conf", content);
}

obzx_pdk_4_4::CFiTraceLogPtr CScratch::makeLog() const
{
    obzx_pdk_4_4::CFiTraceLogPtr log(true);
    log->initialize("unit", "", "", 1, false);
    return log;
}

std::vector<std::string> CScratch::traceLines() const
{
    std::vector<std::string> lines = readLines(tracePath());
    for (std::string& line : lines)
        line.erase(0, line.find(" L") + 1);
    return lines;
}

}  // namespace obzx_test
