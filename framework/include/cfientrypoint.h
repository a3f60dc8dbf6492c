#pragma once

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/// The entry point that a thread is in, as run records name it. One inside another's call counts until it returns.
class OBZX_API CFiEntryPoint
{
  public:
    /// @param function the entry point's C function, <provider>_fi_pgn_<name>; a text that stays. A thread that works
    ///                 for one in an entry point takes over its current() in this way. Null: none.
    explicit CFiEntryPoint(const char* function) noexcept;
    ~CFiEntryPoint();
    CFiEntryPoint(const CFiEntryPoint&) = delete;
    CFiEntryPoint& operator=(const CFiEntryPoint&) = delete;

    /// The C function of the entry point that this thread is in; null outside of one.
    static const char* current() noexcept;
    /// Its name without the provider's: "init_altnode"; "" outside of one.
    static const char* name() noexcept;

  private:
    const char* m_outer;
};

}  // namespace obzx_pdk_4_4
