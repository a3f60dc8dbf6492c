#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/src/guardian/guardian_link.h"
#include "host/src/guardian/hook.h"

namespace fictl {

/// What is frozen by which commands, and for which snapshot.
struct SFreezeOrder
{
    SHooks hooks;
    std::string snapshot;
    std::vector<std::string> devices;

    /// FICTL_SNAPSHOT, FICTL_PHASE, FICTL_DEVICES (one a line) and FICTL_STATUS (empty for the freeze command), each as
    /// "NAME=value".
    std::vector<std::string> environment(const char* phase, const char* status) const;
    /// Runs of the two commands.
    std::unique_ptr<CHookRun> startFreeze() const;
    std::unique_ptr<CHookRun> startThaw(EThaw cause) const;

    /// As one text, and back; nothing for a text that is none.
    std::string encoded() const;
    static std::optional<SFreezeOrder> decoded(const std::string& text);
};

}  // namespace fictl
