#include "framework/src/process_output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "framework/src/output_lines.h"

namespace obzx_pdk_4_4 {

namespace {

// Bytes read; 0 at the end; negative when there is nothing to read now.
ssize_t readBuffer(int descriptor, char* buffer, size_t size)
{
    ssize_t count;
    do {
        count = ::read(descriptor, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count < 0 && errno != EAGAIN ? 0 : count;
}

}  // namespace

size_t CProcessOutput::readSome(size_t most)
{
    const size_t used = m_size % BLOCK_SIZE;
    if (m_size == m_blocks.size() * BLOCK_SIZE) m_blocks.push_back(std::make_unique_for_overwrite<char[]>(BLOCK_SIZE));
    const ssize_t count = readBuffer(m_descriptor, m_blocks.back().get() + used, std::min(most, BLOCK_SIZE - used));
    if (count == 0) m_descriptor = -1;
    if (count <= 0) return 0;
    m_size += static_cast<size_t>(count);
    return static_cast<size_t>(count);
}

void CProcessOutput::read()
{
    if (m_descriptor >= 0) readSome(BLOCK_SIZE);
}

void CProcessOutput::takeLines(size_t most, std::vector<std::string>& lines)
{
    size_t left = std::min(most, m_size);
    std::string begun;  // a line that goes on in the next block
    for (std::unique_ptr<char[]>& block : m_blocks) {
        std::string_view text(block.get(), std::min(left, BLOCK_SIZE));
        left -= text.size();
        if (!begun.empty()) {
            const size_t end = std::min(text.find('\n'), text.size());
            begun.append(text.substr(0, end));
            text.remove_prefix(end);
            if (text.empty()) continue;
            lines.push_back(std::move(begun));
            begun.clear();
            text.remove_prefix(1);
        }
        const size_t complete = text.rfind('\n') + 1;  // 0 where there is none
        appendLines(text.substr(0, complete), lines);
        begun.assign(text.substr(complete));
        block.reset();
    }
    if (!begun.empty()) lines.push_back(std::move(begun));
    m_blocks.clear();
    m_size = 0;
}

void CProcessOutput::readRest()
{
    int waiting = 0;
    if (m_descriptor < 0 || ::ioctl(m_descriptor, FIONREAD, &waiting) != 0) return;
    size_t left = static_cast<size_t>(std::max(waiting, 0));
    while (left > 0) {
        const size_t count = readSome(left);
        if (count == 0) return;
        left -= count;
    }
}

bool CProcessOutput::discard(int descriptor)
{
    char buffer[BLOCK_SIZE];
    return readBuffer(descriptor, buffer, sizeof buffer) != 0;
}

}  // namespace obzx_pdk_4_4
