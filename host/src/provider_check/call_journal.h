#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace fictl {

/**
 * Which calls of a provider are under way, kept in a file that is mapped: what a process noted there is read by another
 * one, however the first one ended. Each thread has a line of its own, of at most LINE_SIZE - 1 bytes; the first
 * THREADS threads that note anything have one.
 */
class CCallJournal
{
  public:
    static constexpr size_t THREADS = 32;
    static constexpr size_t LINE_SIZE = 512;

    /// Makes the file, or opens the one that is there. Throws EFictl (IO).
    explicit CCallJournal(const std::filesystem::path& file);
    ~CCallJournal();
    CCallJournal(const CCallJournal&) = delete;
    CCallJournal& operator=(const CCallJournal&) = delete;

    /// The call that this thread is in; empty: in none.
    void note(std::string_view call);
    /// The calls that are under way, of every thread.
    std::vector<std::string> underWay() const;

  private:
    char* lineOfThisThread();

    char* m_lines = nullptr;
};

}  // namespace fictl
