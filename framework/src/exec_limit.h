#pragma once

#include <ace/SString.h>

namespace obzx_pdk_4_4 {

/// The seconds that a run of the component may take: what was asked for, capped by FI_EXEC / MAX_TIMEOUT (0: no cap) of
/// its configuration store, which is read again only when the file has changed.
unsigned long capTimeout(const ACE_String_Base<char>& component, unsigned long wanted);

}  // namespace obzx_pdk_4_4
