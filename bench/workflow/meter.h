#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace bench {

/// Time of the calling thread.
struct STime
{
    int64_t wall = 0;  ///< nanoseconds
    int64_t cpu = 0;   ///< nanoseconds

    STime& operator+=(const STime& other);
    STime operator-(const STime& other) const;
    static STime now();
};

/**
 * Tells the provider's own time from the time of the tools that it runs: the program that this is linked into stands
 * before the C library, so the provider's calls of clone, waitid and a few others pass through here.
 *
 * One thread. Times are kept for each tool by its file name: what follows a tool's end is that tool's until the next
 * one.
 */
class CMeter
{
  public:
    struct STimes
    {
        STime own;      ///< outside of the rest
        STime request;  ///< making and removing the tool's script
        STime read;     ///< reading its output
        STime tool;     ///< from its start to its end, without reading
        int64_t runs = 0;
    };

    void start();
    void stop();

    /// By tool; what came before the first one is under "".
    const std::map<std::string, STimes>& times() const { return m_times; }
    /// All that is not the tools': own, request, read.
    STime ownTime() const;

    // Called by the functions that stand before the C library's.
    void enter(STime STimes::*part);
    void toolStarts(const char* program, const STime& since);
    void toolEnded();
    STime STimes::*part() const { return m_part; }
    static CMeter* running() { return s_running; }

  private:
    void account(const STime& now = STime::now());

    static CMeter* s_running;
    std::map<std::string, STimes> m_times;
    STimes* m_current = nullptr;
    STime STimes::*m_part = nullptr;
    STime m_since;
};

}  // namespace bench
