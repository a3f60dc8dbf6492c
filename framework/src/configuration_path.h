#pragma once

#include <ace/SString.h>

#include <string>

namespace obzx_pdk_4_4 {

/// Path of a component's configuration store; empty for a component that cannot name a file.
std::string configurationPath(const ACE_String_Base<char>& component);

}  // namespace obzx_pdk_4_4
