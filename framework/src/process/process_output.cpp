#include "framework/src/process/process_output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "framework/src/process/line_ends.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t DISCARD_SIZE = size_t{64} * 1024;

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
    const std::span<char> room = m_text.room();
    const ssize_t count = readBuffer(m_descriptor, room.data(), std::min(most, room.size()));
    if (count == 0) m_descriptor = -1;
    if (count <= 0) return 0;
    m_text.extend(static_cast<size_t>(count));
    measure({room.data(), static_cast<size_t>(count)});
    return static_cast<size_t>(count);
}

void CProcessOutput::measure(std::string_view added)
{
    const size_t first = added.find('\n');
    if (first == std::string_view::npos) {
        m_lineLength += added.size();
        return;
    }
    // A line between two ends is shorter than what is read at once, and no bound is below that.
    m_longestLine = std::max(m_longestLine, m_lineLength + first);
    m_lineLength = added.size() - 1 - added.rfind('\n');
    m_lineEnds += countLineEnds(added);
}

EFiOutputBound CProcessOutput::passedBound() const
{
    if (m_text.size() > m_bounds.bytes) return EFiOutputBound::BYTES;
    if (m_lineEnds + (m_lineLength > 0 ? 1 : 0) > m_bounds.lines) return EFiOutputBound::LINES;
    if (std::max(m_longestLine, m_lineLength) > m_bounds.lineLength) return EFiOutputBound::LINE_LENGTH;
    return EFiOutputBound::NONE;
}

void CProcessOutput::read()
{
    if (m_descriptor >= 0) readSome(std::numeric_limits<size_t>::max());
}

CFiOutputText CProcessOutput::takeText(size_t most)
{
    m_text.cut(most);
    return std::exchange(m_text, {});
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

void CProcessOutput::discard()
{
    char buffer[DISCARD_SIZE];
    if (m_descriptor >= 0 && readBuffer(m_descriptor, buffer, sizeof buffer) == 0) m_descriptor = -1;
}

}  // namespace obzx_pdk_4_4
