#include "host/src/process/placed_path.h"

#include <new>

#include "framework/include/obzx_runtime.h"

namespace fictl {

std::string placedPath(const std::string& path)
{
    char* const buffer = obzx_place_path(path.c_str());
    if (buffer == nullptr) throw std::bad_alloc();
    std::string text = buffer;
    obzx_free_buf(buffer, 0);
    return text;
}

}  // namespace fictl
