#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "base/file_descriptor.h"

namespace fictl {

/// Why the application was thawed; its text is what the thaw command finds in FICTL_STATUS.
enum class EThaw : int32_t
{
    MADE,       ///< the checkpoints are made
    FAILED,     ///< freezing or making them failed
    STOPPED,    ///< a signal stopped fictl
    TIMED_OUT,  ///< it was frozen as long as it may be
    KILLED,     ///< fictl was killed, or its guardian
};

const char* thawText(EThaw cause);

/// What fictl and its guardian tell each other.
enum class EGuard : int32_t
{
    // fictl to the guardian
    ADD_GROUP,     ///< number: a process group that must not outlive fictl
    REMOVE_GROUP,  ///< number
    MORE_TEXT,     ///< text: a part of the next FREEZE's text
    FREEZE,        ///< text: the rest of an SFreezeOrder
    THAW,          ///< cause
                   // the guardian to fictl
    HOOK_STARTED,  ///< number: process group of the freeze or thaw command
    FROZEN,        ///< ok and text: how the freeze command ended; number: its process group, 0 when it never started
    THAWING,       ///< cause: it thaws on its own
    THAWED,        ///< cause, ok, text and seconds: how that ended, and how long the application was frozen
};

struct SGuardMessage
{
    EGuard type{};
    EThaw cause{};
    bool ok = false;
    int64_t number = 0;
    double seconds = 0;
    std::string text{};
};

/// One end of the connection between fictl and its guardian. Messages arrive whole and in order.
class CGuardianLink
{
  public:
    /// The longest text of one message.
    static constexpr size_t MOST_TEXT = 16384;

    enum class EReceived
    {
        NOTHING,
        MESSAGE,
        GONE,  ///< the other side has ended
    };

    /// The two ends; none when the system has no more, which errno explains.
    static std::optional<std::pair<CGuardianLink, CGuardianLink>> pair();

    CGuardianLink() = default;

    /// False when the other side is gone, or did not read for a while. Any thread.
    bool send(const SGuardMessage& message) const;
    /// Waits this long for a message. One thread at a time.
    EReceived receive(SGuardMessage& message, std::chrono::milliseconds timeout) const;
    int descriptor() const { return m_socket.get(); }
    void close() { m_socket.reset(); }

  private:
    explicit CGuardianLink(base::CFileDescriptor socket) : m_socket(std::move(socket)) {}

    base::CFileDescriptor m_socket;
};

}  // namespace fictl
