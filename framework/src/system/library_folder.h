#pragma once

#include <string>

namespace obzx_pdk_4_4 {

/// The folder of the runtime's own library, from which its other files are found, so that build tree and installed tree
/// serve alike. Without links; empty when it cannot be told.
std::string libraryFolder();

}  // namespace obzx_pdk_4_4
