#include <cstdlib>

#include "framework/include/cficonfiguration.h"

namespace obzx_pdk_4_4 {

std::string placePath(const std::string& path)
{
    const char* root = ::secure_getenv("OBZX_ROOT");
    if (root == nullptr || *root == '\0') return path;
    std::string placed = root;
    while (!placed.empty() && placed.back() == '/') {
        placed.pop_back();
    }
    if (path.empty() || path.front() != '/') placed += '/';
    return placed + path;
}

}  // namespace obzx_pdk_4_4
