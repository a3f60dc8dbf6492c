#include "host/src/output/progress.h"

#include <unistd.h>

#include <cstdio>

#include "base/file_write.h"
#include "host/src/text/plain_text.h"

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
    base::writeWhole(STDERR_FILENO, isUtf8(text) ? text : asUtf8(text));
}

}  // namespace fictl
