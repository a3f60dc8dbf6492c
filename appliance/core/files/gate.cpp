#include "appliance/core/files/gate.h"

#include <fcntl.h>

#include <cstdint>
#include <cstring>
#include <string_view>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/range_lock.h"

namespace lumora {

namespace {

// Byte 0 guards the counter; ticket n is byte 1 + n. The bytes need not exist in the file, only their locks count.
constexpr uint64_t COUNTER_BYTE = 0;
constexpr uint64_t FIRST_TICKET_BYTE = 1;
constexpr uint64_t LAST_TICKET = uint64_t{1} << 62U;

uint64_t drawTicket(int fd, const std::filesystem::path& path)
{
    lockRange(fd, ERangeLock::EXCLUSIVE, COUNTER_BYTE, 1, path);
    uint64_t ticket = 0;
    char bytes[sizeof ticket] = {};
    if (readAt(fd, bytes, sizeof bytes, 0, path) == sizeof bytes) std::memcpy(&ticket, bytes, sizeof ticket);
    if (ticket >= LAST_TICKET) {
        throw EApplianceError(EStatus::UNUSABLE,
                              "gate file " + path.string() + " is damaged; remove it while no tool runs");
    }
    // The ticket is taken before the counter moves: whoever dies in between leaves a free ticket for the next comer.
    lockRange(fd, ERangeLock::EXCLUSIVE, FIRST_TICKET_BYTE + ticket, 1, path);
    const uint64_t next = ticket + 1;
    std::memcpy(bytes, &next, sizeof next);
    writeAt(fd, std::string_view(bytes, sizeof bytes), 0, path);
    unlockRange(fd, COUNTER_BYTE, 1);
    return ticket;
}

}  // namespace

CGate::CGate(const std::filesystem::path& file) : m_file(openFile(file, O_RDWR | O_CREAT))
{
    const uint64_t ticket = drawTicket(m_file.get(), file);
    if (ticket > 0) {
        // Shared, so that those further back in the line, who wait for the same tickets, do not wait for one another
        // here.
        lockRange(m_file.get(), ERangeLock::SHARED, FIRST_TICKET_BYTE, ticket, file);
    }
}

}  // namespace lumora
