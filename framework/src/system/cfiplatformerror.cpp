#include "framework/include/cfiplatformerror.h"

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/file_descriptor.h"
#include "framework/src/system/temporary_files.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t ERROR_TEXT_SIZE = 512;
constexpr const char* DEFAULT_PREFIX = "ksv_fi";

std::string temporaryDirectory()
{
    const char* directory = ::secure_getenv("TMPDIR");
    return directory == nullptr || *directory == '\0' ? P_tmpdir : directory;
}

}  // namespace

CFiPlatformError::CFiPlatformError(const std::string& path, int error)
    : m_path(path), m_error(error), m_text(errorText(error))
{
}

CFiPlatformError::~CFiPlatformError() = default;

const char* CFiPlatformError::getCatalogName()
{
    return "ksv_fi";
}

std::string CFiPlatformError::errorText(int error)
{
    char buffer[ERROR_TEXT_SIZE];
    // strerror makes a text up for a value that it does not know; the list of descriptions has a gap there.
    if (::strerrordesc_np(error) != nullptr) return trimLineEnds(::strerror_r(error, buffer, sizeof buffer));
    std::snprintf(buffer, sizeof buffer, "Errno %d (%x) out of range", error, static_cast<unsigned>(error));
    return buffer;
}

std::string CFiPlatformError::trimLineEnds(std::string text)
{
    for (int removed = 0; removed < 2 && text.size() > 1 && (text.back() == '\n' || text.back() == '\r'); ++removed) {
        text.pop_back();
    }
    return text;
}

std::string CFiPlatformError::getTempFileName(const char* directory, const char* prefix)
{
    const std::string folder = directory == nullptr || *directory == '\0' ? temporaryDirectory() : directory;
    const std::string start = prefix == nullptr ? DEFAULT_PREFIX : prefix;
    // Once is enough: what is left was left by others.
    if (static std::atomic_flag looked; !looked.test_and_set()) removeLeftTemporaryFiles(folder, start);
    std::string path = folder + "/" + start + temporaryFileMark() + "XXXXXX";
    // Makes the file exclusively, with mode 0600, under a name that nobody can foretell.
    const base::CFileDescriptor file(::mkostemp(path.data(), O_CLOEXEC));
    if (!file) throw CFiPlatformError(path, errno);
    return path;
}

}  // namespace obzx_pdk_4_4
