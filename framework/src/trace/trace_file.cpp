#include "framework/src/trace/trace_file.h"

#include <fcntl.h>
#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "base/file_descriptor.h"
#include "base/file_size_signal.h"
#include "framework/src/trace/trace_line_formatter.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr int64_t RETRY_SECONDS = 10;
constexpr size_t STREAM_BUFFER = size_t{64} * 1024;

int64_t monotonicSeconds()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

// Makes the missing folders above the file, for this user only.
void makeFolders(const std::string& path)
{
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        ::mkdir(path.substr(0, slash).c_str(), 0700);
    }
}

// The writer of the library would make the file readable for everybody, and wait for ever at a FIFO without a reader:
// so the file is made, and checked, before it.
void prepareFile(const std::string& path)
{
    const base::CFileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw spdlog::spdlog_ex("not a writable regular file", errno);
    }
}

void prepareStream(std::FILE* stream)
{
    ::fcntl(::fileno(stream), F_SETFD, FD_CLOEXEC);
    std::setvbuf(stream, nullptr, _IOFBF, STREAM_BUFFER);
}

spdlog::string_view_t toSpdlog(std::string_view text)
{
    return {text.data(), text.size()};
}

}  // namespace

struct CTraceFile::SSink
{
    spdlog::sinks::rotating_file_sink<spdlog::details::null_mutex> sink;

    explicit SSink(const STraceFileSettings& settings)
        : sink(settings.path, settings.maxSize, settings.maxFiles, false, handlers())
    {
        sink.set_formatter(std::make_unique<CTraceLineFormatter>());
    }

    static spdlog::file_event_handlers handlers()
    {
        spdlog::file_event_handlers handlers;
        handlers.before_open = [](const spdlog::filename_t& path) { prepareFile(path); };
        handlers.after_open = [](const spdlog::filename_t&, std::FILE* stream) { prepareStream(stream); };
        return handlers;
    }
};

CTraceFile::CTraceFile(STraceFileSettings settings) : m_settings(std::move(settings)) {}

CTraceFile::~CTraceFile() = default;

bool CTraceFile::open()
{
    if (m_sink != nullptr) return true;
    if (m_settings.path.empty() || monotonicSeconds() < m_retryTime) return false;
    m_retryTime = monotonicSeconds() + RETRY_SECONDS;
    makeFolders(m_settings.path);
    m_sink = std::make_unique<SSink>(m_settings);
    return true;
}

// Asking the system for each line would take a third of the line's time.
bool CTraceFile::isLimited()
{
    if (const int64_t now = monotonicSeconds(); now != m_limitTime) {
        m_isLimited = base::CFileSizeSignalHeld::isLimited();
        m_limitTime = now;
    }
    return m_isLimited;
}

void CTraceFile::write(int32_t level, std::string_view component, std::string_view text) noexcept
{
    try {
        const std::lock_guard<std::mutex> guard(m_mutex);
        try {
            if (!open()) return;
            const base::CFileSizeSignalHeld held(isLimited());
            const auto anyLevel = static_cast<spdlog::level::level_enum>(level);
            m_sink->sink.log(spdlog::details::log_msg(toSpdlog(component), anyLevel, toSpdlog(text)));
            m_sink->sink.flush();
        } catch (...) {
            // After a failure the sink may have closed its file; it is not used again. What it holds is written here.
            const base::CFileSizeSignalHeld held;
            m_sink.reset();
            m_retryTime = monotonicSeconds() + RETRY_SECONDS;
        }
    } catch (...) {
        // The lock failed; a lost line is all that may come of it.
    }
}

}  // namespace obzx_pdk_4_4
