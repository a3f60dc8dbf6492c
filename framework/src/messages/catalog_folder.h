#pragma once

#include <string>

namespace obzx_pdk_4_4 {

/// The folder that holds a component's message bundles and parameter description, found relative to the runtime's own
/// library so that build tree and installed tree serve alike. Empty for a name that is no plain folder name.
std::string catalogFolder(const std::string& component);

}  // namespace obzx_pdk_4_4
