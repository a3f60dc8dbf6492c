#include "providers/cdp/cdp_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace cdpfi {

namespace {

constexpr size_t MAX_LINE = 4095;
constexpr size_t MAX_FILE = size_t{16} * 1024 * 1024;
constexpr size_t CHUNK = size_t{64} * 1024;

class CDescriptor
{
  public:
    // O_NONBLOCK: opening a pipe that nobody writes to must not wait.
    explicit CDescriptor(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~CDescriptor()
    {
        if (m_fd >= 0) close(m_fd);
    }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    int get() const { return m_fd; }

  private:
    int m_fd;
};

// False for what is not a readable regular file of a size to be expected.
bool readAll(int fd, std::string& content)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    std::string chunk(CHUNK, '\0');
    while (content.size() <= MAX_FILE) {
        const ssize_t got = read(fd, chunk.data(), chunk.size());
        if (got == 0) return true;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        content.append(chunk, 0, static_cast<size_t>(got));
    }
    return false;
}

}  // namespace

void CDPSupportFunction::readFile(const std::string& path, std::vector<std::string>& lines)
{
    const CDescriptor file(path);
    std::string content;
    if (file.get() < 0 || !readAll(file.get(), content)) return;
    std::string_view rest = content;
    for (;;) {
        const size_t end = rest.find('\n');
        lines.emplace_back(rest.substr(0, end).substr(0, MAX_LINE));
        if (end == std::string_view::npos) return;
        rest.remove_prefix(end + 1);
    }
}

}  // namespace cdpfi
