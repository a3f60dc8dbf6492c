#include "framework/include/cfitrace.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>

#include "framework/include/cficonfiguration.h"
#include "framework/include/cfierrormanager.h"
#include "framework/include/cfistringtool.h"
#include "framework/src/trace/trace_file.h"
#include "framework/src/trace/trace_observer.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr int32_t DEFAULT_LEVEL = TRACE_INVALID;
constexpr long MIN_FILE_SIZE = 1024;
constexpr long MAX_FILES = 1000;
constexpr size_t DEFAULT_LINE = size_t{64} * 1024;

struct STraceSettings
{
    int32_t level = DEFAULT_LEVEL;
    size_t longestLine = DEFAULT_LINE;  // bytes of its text
    STraceFileSettings file;
};

void readStore(STraceSettings& settings, CFiConfiguration& store)
{
    ACE_Configuration_Section_Key key;
    if (store.openSection("FI_TRACE", key, 1) != 0) return;
    long number = 0;
    ACE_String_Base<char> text;
    if (store.getIntegerValue("LEVEL", number) == 0) settings.level = static_cast<int32_t>(number);
    if (store.getStringValue("FILE", text) == 0 && !text.empty()) settings.file.path = CFiStringTool::tstr2str(text);
    if (store.getIntegerValue("MAX_SIZE", number) == 0 && number >= MIN_FILE_SIZE) {
        settings.file.maxSize = static_cast<size_t>(number);
    }
    if (store.getIntegerValue("MAX_LINE", number) == 0) {
        settings.longestLine = std::max(static_cast<size_t>(number), DEFAULT_LINE);
    }
    if (store.getIntegerValue("MAX_FILES", number) == 0 && number <= MAX_FILES) {
        settings.file.maxFiles = static_cast<size_t>(number);
    }
}

std::optional<int32_t> levelFromEnvironment()
{
    const char* text = ::secure_getenv("OBZX_TRACE_LEVEL");
    if (text == nullptr) return std::nullopt;
    const char* end = text + std::strlen(text);
    int32_t level = 0;
    const auto [stop, error] = std::from_chars(text, end, level);
    if (error != std::errc() || stop != end || text == end || level < 0) return std::nullopt;
    return level;
}

std::string defaultPath(const std::string& component, const std::string& directory)
{
    // A component that cannot name a file has no trace file.
    if (component.empty() || component.find('/') != std::string::npos || component.find('\0') != std::string::npos) {
        return {};
    }
    return (directory.empty() ? "/var/log/qz" : directory) + "/" + component + ".log";
}

STraceSettings readSettings(CFiConfiguration& store, const ACE_String_Base<char>& component,
                            const ACE_String_Base<char>& file, const ACE_String_Base<char>& directory, int32_t level)
{
    STraceSettings settings;
    if (level > 1) settings.level = level;
    settings.file.path = defaultPath(CFiStringTool::tstr2str(component), CFiStringTool::tstr2str(directory));
    readStore(settings, store);
    if (!file.empty()) settings.file.path = CFiStringTool::tstr2str(file);
    if (settings.file.path.find('\0') != std::string::npos) settings.file.path.clear();
    if (!settings.file.path.empty()) settings.file.path = placePath(settings.file.path);
    if (const auto wanted = levelFromEnvironment()) settings.level = *wanted;
    return settings;
}

// Everybody else reads the store many times; the log reads it once for each start, so it is the one to name bad lines.
void traceUnreadableLines(CFiTraceLog& log, const CFiConfiguration& store)
{
    for (const SFiUnreadableLine& line : store.unreadableLines()) {
        log.trace(TRACE_INVALID, "CFiConfiguration - line [%d] of [%s] cannot be read and is skipped.", line.m_line,
                  store.path());
    }
}

const char* fileName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash == nullptr ? TRACER_HEADER : slash + 1;
}

}  // namespace

struct CFiTraceLog::SState
{
    mutable std::mutex mutex;  // guards initialisation and the error manager
    size_t longestLine = DEFAULT_LINE;
    std::unique_ptr<CTraceFile> file;
    std::string component;
    CFiErrorManagerPtr errorManager;
};

CFiTraceLog::CFiTraceLog() : m_state(std::make_unique<SState>()) {}

CFiTraceLog::~CFiTraceLog() = default;

void CFiTraceLog::initialize(const ACE_String_Base<char>& component, const ACE_String_Base<char>& file,
                             const ACE_String_Base<char>& directory, int32_t level, bool /*append*/)
{
    std::unique_lock<std::mutex> guard(m_state->mutex);
    if (isInitialized()) return;
    CFiConfiguration store(component);
    STraceSettings settings = readSettings(store, component, file, directory, level);
    m_component = component;
    if (m_component != component) throw std::bad_alloc();  // the text class leaves a text as it was without a word
    m_state->component = CFiStringTool::tstr2str(component);
    m_state->longestLine = settings.longestLine;
    m_state->file = std::make_unique<CTraceFile>(std::move(settings.file));
    m_level.store(settings.level, std::memory_order_relaxed);
    m_initialized.store(true, std::memory_order_release);
    guard.unlock();
    traceUnreadableLines(*this, store);
}

void CFiTraceLog::write(int32_t level, const char* format, const CFiTraceArg* args, size_t count)
{
    if (!isInitialized() || format == nullptr) return;
    const int savedErrno = errno;  // a trace line between a call and its check must not change what is checked
    try {
        const std::string text = formatTrace(format, args, count, m_state->longestLine);
        if (level <= m_level.load(std::memory_order_relaxed)) m_state->file->write(level, m_state->component, text);
        if (level <= g_observerLevel.load(std::memory_order_relaxed)) observeTrace(level, m_state->component, text);
    } catch (...) {
        // No memory for the line: it is lost, the caller goes on.
    }
    errno = savedErrno;
}

void CFiTraceLog::setErrorManager(const CFiErrorManagerPtr& manager)
{
    CFiErrorManagerPtr former = manager;  // destroyed without the lock, as its destructor may trace
    const std::lock_guard<std::mutex> guard(m_state->mutex);
    m_state->errorManager.swap(former);
}

CFiErrorManagerPtr CFiTraceLog::getErrorManager() const
{
    const std::lock_guard<std::mutex> guard(m_state->mutex);
    return m_state->errorManager;
}

CFiTraceable::~CFiTraceable() = default;

void CFiTraceable::registerTraceLog(const CFiTraceLogPtr& traceLog)
{
    m_traceLog = traceLog;
}

CFiTraceLogFunction::CFiTraceLogFunction(const CFiTraceLogPtr& traceLog, const char* function, int32_t line,
                                         const char* file)
    : m_traceLog(traceLog), m_function(function), m_line(line), m_file(file)
{
    if (!m_traceLog || m_function == nullptr || m_file == nullptr || !m_traceLog->isEnabled(TRACE_DETAIL)) return;
    m_traceLog->trace(TRACE_DETAIL, "Entering Function %s [%d, %s]", m_function, m_line, fileName(m_file));
}

CFiTraceLogFunction::~CFiTraceLogFunction()
{
    if (!m_traceLog || m_function == nullptr || m_file == nullptr || !m_traceLog->isEnabled(TRACE_DETAIL)) return;
    if (m_line == 0) {
        m_traceLog->trace(TRACE_DETAIL, "Exiting Function %s", m_function);
    } else {
        m_traceLog->trace(TRACE_DETAIL, "Exiting Function %s [%d, %s]", m_function, m_line, fileName(m_file));
    }
}

}  // namespace obzx_pdk_4_4
