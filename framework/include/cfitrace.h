#pragma once

#include <ace/SString.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "framework/include/cfismartptr.h"
#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

class CFiErrorManager;
using CFiErrorManagerPtr = CFiSmartPtr<CFiErrorManager, CFiContextSingletonAllocator<CFiErrorManager>>;

/// Levels of trace lines; a log writes the lines whose level is at most its own. Others than these may be used.
enum ETraceLevel : int32_t
{
    TRACE_FAILURE = 1,  ///< failures and unhandled exceptions
    TRACE_INVALID = 2,  ///< invalid input; the default level of a log
    TRACE_INFO = 3,     ///< what an operation found and decided
    TRACE_DETAIL = 6,   ///< function entry and exit, details
};

/// The line of level 1 for an operation, by its name, that an exception ended; spelled as log readers search for it.
inline constexpr const char* TRACE_UNHANDLED = "%s(): Unhandled execption encountered, exiting the function";

/// One argument of a trace line, with its kind, so that a format never reads what was not passed. A text is not copied:
/// it must outlive the object.
class CFiTraceArg
{
  public:
    enum class EKind
    {
        SIGNED,
        UNSIGNED,
        REAL,
        TEXT,
        POINTER
    };

    template <class T, class = std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>>>
    CFiTraceArg(T value)  // NOLINT(google-explicit-constructor): arguments convert as they are passed
    {
        if constexpr (std::is_floating_point_v<T>) {
            m_kind = EKind::REAL;
            m_real = static_cast<double>(value);
        } else if constexpr (std::is_enum_v<T> || std::is_signed_v<T>) {
            m_kind = EKind::SIGNED;
            m_signed = static_cast<int64_t>(value);
            m_width = sizeof(T);
        } else {
            m_kind = EKind::UNSIGNED;
            m_unsigned = static_cast<uint64_t>(value);
            m_width = sizeof(T);
        }
    }
    CFiTraceArg(const char* text) : m_kind(EKind::TEXT), m_text(text == nullptr ? "(null)" : text) {}  // NOLINT
    CFiTraceArg(const std::string& text) : m_kind(EKind::TEXT), m_text(text) {}                        // NOLINT
    CFiTraceArg(std::string_view text) : m_kind(EKind::TEXT), m_text(text) {}                          // NOLINT
    CFiTraceArg(const ACE_String_Base<char>& text)                                                     // NOLINT
        : m_kind(EKind::TEXT), m_text(text.fast_rep(), text.length())
    {
    }
    CFiTraceArg(const void* pointer) : m_kind(EKind::POINTER), m_pointer(pointer) {}  // NOLINT

    EKind kind() const { return m_kind; }
    int64_t asSigned() const { return m_signed; }
    uint64_t asUnsigned() const { return m_unsigned; }
    size_t width() const { return m_width; }  ///< bytes of an integer argument
    double asReal() const { return m_real; }
    std::string_view asText() const { return m_text; }
    const void* asPointer() const { return m_pointer; }

  private:
    EKind m_kind;
    size_t m_width = 8;
    union {
        int64_t m_signed = 0;
        uint64_t m_unsigned;
        double m_real;
        const void* m_pointer;
    };
    std::string_view m_text;
};

/**
 * The text of a trace line. A conversion without an argument, and an incomplete conversion such as "%l]", are written
 * as they stand; an argument whose kind does not fit its conversion is written in its own form; surplus arguments are
 * ignored. Texts are written whole, NUL and newline included, unless the line would have more bytes than it may: then
 * the rest of it is left out, and what stands behind says how much that is (" ... [17 bytes more]").
 */
OBZX_API std::string formatTrace(std::string_view format, const CFiTraceArg* args, size_t count,
                                 size_t most = std::numeric_limits<size_t>::max());

/**
 * The trace log of one component: a rotated file, /var/log/qz/<component>.log below the root directory.
 *
 * A line is "<UTC time, microseconds, Z> <pid>.<tid> L<level> <component> <text>". Section FI_TRACE of the component's
 * configuration store sets LEVEL (2), FILE, MAX_SIZE (bytes, 10 MiB), MAX_FILES (5) and MAX_LINE, the bytes of a text
 * from which on it is cut (64 KiB, and no less); OBZX_TRACE_LEVEL overrides the level. A file that cannot be opened or
 * written silences tracing and nothing else. Any thread may trace; lines are whole.
 */
class OBZX_API CFiTraceLog : public virtual CFiRefCount
{
  public:
    CFiTraceLog();
    ~CFiTraceLog() override;

    /// Reads the configuration and opens the file. An empty second or third text, 1 and false are the usual arguments;
    /// file overrides FILE, directory the folder of the default file, level the default level when above 1. A log that
    /// is initialised stays as it is. Each line of the configuration store that cannot be read becomes a line of
    /// level 2.
    /// @throw std::bad_alloc; the log is then not initialised
    void initialize(const ACE_String_Base<char>& component, const ACE_String_Base<char>& file,
                    const ACE_String_Base<char>& directory, int32_t level, bool append);
    bool isInitialized() const { return m_initialized.load(std::memory_order_acquire); }
    const ACE_String_Base<char>& getComponent() const { return m_component; }  ///< empty before initialize

    /// Whether anybody reads lines of that level: the file or the process's observer. For callers whose line costs
    /// work.
    bool isEnabled(int32_t level) const
    {
        return level <= m_level.load(std::memory_order_relaxed) ||
               level <= g_observerLevel.load(std::memory_order_relaxed);
    }

    /// Writes a line in printf form; any number and kind of arguments that CFiTraceArg can hold. Never throws, keeps
    /// errno; a line for which there is no memory is lost.
    template <class... Args>
    void trace(int32_t level, const char* format, const Args&... args)
    {
        if (!isEnabled(level)) return;
        if constexpr (sizeof...(Args) == 0) {
            write(level, format, nullptr, 0);
        } else {
            const CFiTraceArg list[] = {CFiTraceArg(args)...};
            write(level, format, list, sizeof...(Args));
        }
    }

    /// The same with a list of arguments, whether or not the level is enabled: what trace() calls.
    void write(int32_t level, const char* format, const CFiTraceArg* args, size_t count);

    /// Kept for whoever has the log alone and something to report; the log itself reports nothing.
    void setErrorManager(const CFiErrorManagerPtr& manager);
    CFiErrorManagerPtr getErrorManager() const;

  private:
    friend struct CFiTraceObserver;

    static constexpr int32_t NO_LEVEL = INT32_MIN;

    // Level asked for by the process's trace observer; NO_LEVEL when there is none.
    static std::atomic<int32_t> g_observerLevel;

    struct SState;
    std::unique_ptr<SState> m_state;
    ACE_String_Base<char> m_component;
    std::atomic<int32_t> m_level{NO_LEVEL};
    std::atomic<bool> m_initialized{false};
};

using CFiTraceLogPtr = CFiSmartPtr<CFiTraceLog, CFiContextSingletonAllocator<CFiTraceLog>>;

/// Base of what writes trace lines: holds the log it writes to; without one nothing is written.
class OBZX_API CFiTraceable
{
  public:
    CFiTraceable() = default;
    CFiTraceable(const CFiTraceable&) = delete;
    CFiTraceable& operator=(const CFiTraceable&) = delete;
    virtual ~CFiTraceable();
    /// Before the object is used by several threads: the pointer is not locked. Empty: no lines from now on.
    virtual void registerTraceLog(const CFiTraceLogPtr& traceLog);

    const CFiTraceLogPtr& traceLog() const { return m_traceLog; }
    bool isTraceEnabled(int32_t level) const { return m_traceLog && m_traceLog->isEnabled(level); }

    template <class... Args>
    void trace(int32_t level, const char* format, const Args&... args) const
    {
        if (m_traceLog) m_traceLog->trace(level, format, args...);
    }

  protected:
    CFiTraceLogPtr m_traceLog;
};

/// What a function tracer shows as the file of a caller whose path holds no "/".
inline constexpr const char* TRACER_HEADER = "framework/include/cfitrace.h";

/**
 * Traces the life of a function at level 6: a line when it is entered, one when it is left, also by an exception.
 * Without a log, a function name or a file nothing is written. The texts must outlive the object.
 */
class OBZX_API CFiTraceLogFunction
{
  public:
    CFiTraceLogFunction(const CFiTraceLogPtr& traceLog, const char* function, int32_t line, const char* file);
    ~CFiTraceLogFunction();
    CFiTraceLogFunction(const CFiTraceLogFunction&) = delete;
    CFiTraceLogFunction& operator=(const CFiTraceLogFunction&) = delete;

  private:
    CFiTraceLogPtr m_traceLog;
    const char* m_function;
    int32_t m_line;
    const char* m_file;
};

}  // namespace obzx_pdk_4_4
