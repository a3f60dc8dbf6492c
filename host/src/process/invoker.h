#pragma once

#include <string>

namespace fictl {

/// Who runs a command, and where; each fit for a message.
struct SInvoker
{
    std::string user;
    std::string sudoUser;  ///< who became that user with sudo; empty when nobody did
    std::string host;

    static SInvoker ofThisProcess();
    /// "root (anna)@payroll"
    std::string text() const { return user + (sudoUser.empty() ? "" : " (" + sudoUser + ")") + "@" + host; }
};

}  // namespace fictl
