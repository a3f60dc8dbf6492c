#pragma once

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/// Notes, as long as it lives, which entry point its thread is in; run records name it (obzx_run). The innermost object
/// of a thread counts. Made and destroyed on the same thread.
class OBZX_API CFiEntryPoint
{
  public:
    /// @param function name of the entry point's C function, <provider>_fi_pgn_<name>; not copied, must outlive the
    ///                 object. A thread that a provider starts for an entry point hands its current() on in this way.
    ///                 Null: none.
    explicit CFiEntryPoint(const char* function) noexcept;
    ~CFiEntryPoint();
    CFiEntryPoint(const CFiEntryPoint&) = delete;
    CFiEntryPoint& operator=(const CFiEntryPoint&) = delete;

    /// The text that the object was made from that counts on this thread; null when there is none.
    static const char* current() noexcept;
    /// What follows the provider's part of it, such as "init_altnode"; "" when there is none.
    static const char* name() noexcept;

  private:
    const char* m_outer;  // counts again after this one
};

}  // namespace obzx_pdk_4_4
