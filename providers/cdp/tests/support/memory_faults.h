#pragma once

#include <cstddef>

namespace cdpfi {

/// Lets an allocation of this thread fail, counted from the construction on: of operator new anywhere, or of the C
/// functions (calloc, strdup, obzx_alloc_buf, obzx_get_objid) that the provider calls.
class CMemoryFault
{
  public:
    enum class EKind
    {
        OPERATOR_NEW,
        C_FUNCTION
    };
    /// @param skipped allocations that still succeed before the one that fails
    /// @param smallest size in bytes below which an allocation neither fails nor counts
    CMemoryFault(EKind kind, int skipped, size_t smallest = 0);
    ~CMemoryFault();
    CMemoryFault(const CMemoryFault&) = delete;
    CMemoryFault& operator=(const CMemoryFault&) = delete;
    /// Whether the allocation was reached.
    bool happened() const;
};

/// Blocks of operator new that this thread has taken and not given back.
long liveBlocks();

}  // namespace cdpfi
