#pragma once

#include <ace/SString.h>

#include <string>

#include "framework/include/cficonfiguration.h"
#include "framework/include/cfistringtool.h"

namespace obzx_pdk_4_4 {

/// Path of a component's configuration store; empty for a component that cannot name a file.
inline std::string configurationPath(const ACE_String_Base<char>& component)
{
    const std::string name = CFiStringTool::tstr2str(component);
    if (name.empty() || name.find('/') != std::string::npos || name.find('\0') != std::string::npos) return {};
    return placePath("/etc/qz/" + name + ".conf");
}

}  // namespace obzx_pdk_4_4
