#include "host/src/guardian/guardian_link.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <type_traits>

namespace fictl {

namespace {

// What stands before the text in a message. Its layout is no matter: both sides are the same program.
struct SHead
{
    EGuard type;
    EThaw cause;
    int64_t number;
    double seconds;
    bool ok;
};
static_assert(std::is_trivially_copyable_v<SHead>);

constexpr timeval MOST_WAIT{1, 0};

}  // namespace

const char* thawText(EThaw cause)
{
    constexpr std::array TEXTS = {"made", "failed", "stopped", "timed-out", "killed"};  // in order of EThaw
    return TEXTS.at(static_cast<size_t>(cause));
}

std::optional<std::pair<CGuardianLink, CGuardianLink>> CGuardianLink::pair()
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return std::nullopt;
    base::CFileDescriptor one = base::aboveStandard(base::CFileDescriptor(ends[0]));
    base::CFileDescriptor other = base::aboveStandard(base::CFileDescriptor(ends[1]));
    if (!one || !other) return std::nullopt;
    for (const base::CFileDescriptor* const end : {&one, &other}) {
        // A side that was stopped (SIGSTOP) must not hold up the other for good.
        if (::setsockopt(end->get(), SOL_SOCKET, SO_SNDTIMEO, &MOST_WAIT, sizeof MOST_WAIT) != 0) return std::nullopt;
    }
    return std::pair(CGuardianLink(std::move(one)), CGuardianLink(std::move(other)));
}

bool CGuardianLink::send(const SGuardMessage& message) const
{
    SHead head{message.type, message.cause, message.number, message.seconds, message.ok};
    iovec parts[] = {{&head, sizeof head},
                     {const_cast<char*>(message.text.data()), std::min(message.text.size(), MOST_TEXT)}};
    msghdr packet{};
    packet.msg_iov = parts;
    packet.msg_iovlen = 2;
    while (::sendmsg(m_socket.get(), &packet, MSG_NOSIGNAL) < 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

CGuardianLink::EReceived CGuardianLink::receive(SGuardMessage& message, std::chrono::milliseconds timeout) const
{
    pollfd readable{m_socket.get(), POLLIN, 0};
    if (::poll(&readable, 1, static_cast<int>(timeout.count())) <= 0) return EReceived::NOTHING;
    SHead head{};
    std::string text(MOST_TEXT, '\0');
    iovec parts[] = {{&head, sizeof head}, {text.data(), text.size()}};
    msghdr packet{};
    packet.msg_iov = parts;
    packet.msg_iovlen = 2;
    const ssize_t size = ::recvmsg(m_socket.get(), &packet, MSG_DONTWAIT);
    if (size < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) return EReceived::NOTHING;
    if (size < static_cast<ssize_t>(sizeof head)) return EReceived::GONE;
    text.resize(static_cast<size_t>(size) - sizeof head);
    message = {head.type, head.cause, head.ok, head.number, head.seconds, std::move(text)};
    return EReceived::MESSAGE;
}

}  // namespace fictl
