#include "host/src/output/progress.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace fictl {

void CProgress::step(const std::string& text) const
{
    if (m_heartbeat) m_heartbeat->step(text);
    if (!m_enabled) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
    char time[32];
    std::snprintf(time, sizeof time, "[%7.3f] ", elapsed.count());
    write(time + text + "\n");
}

void CProgress::warn(const std::string& text)
{
    write("fictl: warning: " + text + "\n");
}

void CProgress::write(const std::string& text)
{
    const char* at = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t done = ::write(STDERR_FILENO, at, left);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return;
        at += done;
        left -= static_cast<size_t>(done);
    }
}

}  // namespace fictl
