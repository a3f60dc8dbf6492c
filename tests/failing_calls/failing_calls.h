#pragma once

#include <cstdint>

/**
 * Calls of this process that fail on demand. The program defines malloc and its relatives, clone and fork itself;
 * being the program, its definitions come before those of the libraries, so that every library's calls come here.
 * Only calls within a CWatched count, from 1, since failAt; other threads are not looked at.
 */
namespace failing_calls {

enum class EKind
{
    ALLOCATION,  ///< malloc, calloc, realloc, aligned allocations; so operator new too
    SPAWN,       ///< clone, fork
};

/// Lets the call of that number fail; 0 lets all pass and only counts.
void failAt(EKind kind, uint64_t number);
/// Lets all of them fail.
void failAlways(EKind kind);
/// Calls since failAt.
uint64_t calls();

/// A part of the thread's work whose calls are counted, and may fail.
class CWatched
{
  public:
    CWatched();
    ~CWatched();
    CWatched(const CWatched&) = delete;
    CWatched& operator=(const CWatched&) = delete;
};

/// Blocks of memory that the process holds.
int64_t liveBlocks();

}  // namespace failing_calls
