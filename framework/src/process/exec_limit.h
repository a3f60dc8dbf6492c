#pragma once

#include <ace/SString.h>

#include <cstdint>

#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

/// The seconds that a run of the component may take: what was asked for, capped by FI_EXEC / MAX_TIMEOUT (0: no cap) of
/// its configuration store, which is read again only when the file has changed.
unsigned long capTimeout(const ACE_String_Base<char>& component, unsigned long wanted);

/// The same by the limit of this process.
unsigned long capTimeout(unsigned long wanted);
/// Both: of the component that a trace log belongs to; of none without one.
unsigned long limitOf(const CFiTraceLogPtr& traceLog, unsigned long wanted);
/// For runs that start from now on; 0: no limit.
void setRunLimit(uint64_t seconds);

}  // namespace obzx_pdk_4_4
