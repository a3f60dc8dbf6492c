#include "framework/src/parameter_description.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "framework/src/catalog_folder.h"

namespace obzx_pdk_4_4 {
namespace {

constexpr size_t MAX_DESCRIPTION = size_t{1} << 20;

class CFile
{
  public:
    explicit CFile(const std::string& path) : m_descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~CFile()
    {
        if (m_descriptor >= 0) ::close(m_descriptor);
    }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // Empty when it is no regular file, cannot be read or is larger than the limit.
    std::optional<std::string> read(size_t limit) const
    {
        struct stat status = {};
        if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
        std::string text;
        char buffer[4096];
        for (;;) {
            const ssize_t got = ::read(m_descriptor, buffer, sizeof buffer);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) return std::nullopt;
            if (got == 0) return text;
            text.append(buffer, static_cast<size_t>(got));
            if (text.size() > limit) return std::nullopt;
        }
    }

  private:
    int m_descriptor;
};

}  // namespace

CFiConfigParamInfoList readParameterDescription(const std::string& component, const CFiTraceable& tracer)
{
    const std::string path = catalogFolder(component) + "/parameters.xml";
    const std::optional<std::string> xml = CFile(path).read(MAX_DESCRIPTION);
    CFiConfigParamInfoList parameters;
    if (!xml) {
        tracer.trace(TRACE_INVALID, "Cannot read the parameter description [%s]", path);
    } else if (!parseParameterDescription(*xml, parameters)) {
        tracer.trace(TRACE_INVALID, "The parameter description [%s] is malformed", path);
        parameters.clear();
    }
    return parameters;
}

}  // namespace obzx_pdk_4_4
