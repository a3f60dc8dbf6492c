#pragma once

#include <chrono>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace fictl {

/// How a program ended, and what it wrote.
struct SProgramEnd
{
    bool started = false;
    bool tooLong = false;   ///< it was stopped: it wrote more than it may
    bool timedOut = false;  ///< it was stopped: no end in time
    bool stopped = false;   ///< it was stopped: fictl was asked to stop
    int exit = -1;          ///< exit status; -1 when it did not end by itself
    std::string reason;     ///< why it did not end with status 0, in words; empty when it did
    std::string output;     ///< its standard output, as far as it was read
    std::string errors;     ///< its standard error, the first 4 KiB
};

/**
 * Runs a program by its path and collects what it writes. Standard input is empty, the process group its own. When it
 * does not end in time, which begins before it is opened, writes more than it may, or, with stopOnSignal, when fictl is
 * asked to stop, its group gets SIGTERM and a second later SIGKILL. run() waits for its end; the guardian, where there
 * is one, ends the program should fictl end before it. Throws std::bad_alloc.
 */
class CProgram
{
  public:
    static constexpr size_t OUTPUT_LIMIT = size_t{256} * 1024 * 1024;

    explicit CProgram(std::vector<std::string> words) : m_words(std::move(words)) {}

    CProgram& within(std::chrono::seconds limit)
    {
        m_limit = limit;
        return *this;
    }
    CProgram& stoppingOnSignal(bool stop)
    {
        m_stopOnSignal = stop;
        return *this;
    }

    /// It is ended, too, when nobody waits for it any more.
    CProgram& stoppingWith(std::stop_token unwanted)
    {
        m_unwanted = std::move(unwanted);
        return *this;
    }

    CProgram& writingAtMost(size_t bytes)
    {
        m_outputLimit = bytes;
        return *this;
    }

    SProgramEnd run() const;

  private:
    std::string whyStopped(const SProgramEnd& end) const;

    std::vector<std::string> m_words;
    std::chrono::seconds m_limit{600};
    size_t m_outputLimit = OUTPUT_LIMIT;
    bool m_stopOnSignal = false;
    std::stop_token m_unwanted;
};

}  // namespace fictl
