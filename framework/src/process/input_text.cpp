#include "framework/src/process/input_text.h"

#include <sys/stat.h>

#include <algorithm>
#include <new>

#include "base/file_read.h"

namespace obzx_pdk_4_4 {

void readInputText(int file, SInputText& text) noexcept
{
    struct stat status = {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return;
    const auto size = static_cast<uint64_t>(status.st_size);
    try {
        text.start.resize(std::min<uint64_t>(size, SInputText::MOST_KEPT));
    } catch (const std::bad_alloc&) {
        text.size = size;
        return;
    }
    const ptrdiff_t kept = base::readAt(file, text.start.data(), text.start.size(), 0);
    text.start.resize(static_cast<size_t>(std::max<ptrdiff_t>(kept, 0)));
    if (kept >= 0) text.size = size;
}

}  // namespace obzx_pdk_4_4
