#include "host/src/provider_check/call_journal.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "base/file_descriptor.h"
#include "host/src/output/error.h"

namespace fictl {

namespace {

constexpr size_t FILE_SIZE = CCallJournal::THREADS * CCallJournal::LINE_SIZE;

std::atomic<size_t> g_threads = 0;  // that have a line

}  // namespace

CCallJournal::CCallJournal(const std::filesystem::path& file)
{
    const base::CFileDescriptor descriptor(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!descriptor || ftruncate(descriptor.get(), FILE_SIZE) != 0) failFile("cannot make", file);
    void* const memory = mmap(nullptr, FILE_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor.get(), 0);
    if (memory == MAP_FAILED) failFile("cannot map", file);
    m_lines = static_cast<char*>(memory);
}

CCallJournal::~CCallJournal()
{
    munmap(m_lines, FILE_SIZE);
}

char* CCallJournal::lineOfThisThread()
{
    static thread_local const size_t place = g_threads++;
    return place < THREADS ? m_lines + place * LINE_SIZE : nullptr;
}

void CCallJournal::note(std::string_view call)
{
    char* const line = lineOfThisThread();
    if (line == nullptr) return;
    const size_t size = std::min(call.size(), LINE_SIZE - 1);
    std::memcpy(line, call.data(), size);
    line[size] = '\0';
}

std::vector<std::string> CCallJournal::underWay() const
{
    std::vector<std::string> calls;
    for (size_t i = 0; i < THREADS; ++i) {
        const char* const line = m_lines + i * LINE_SIZE;
        if (*line != '\0') calls.emplace_back(line, strnlen(line, LINE_SIZE));
    }
    return calls;
}

}  // namespace fictl
