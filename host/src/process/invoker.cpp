#include "host/src/process/invoker.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "host/src/process/host_name.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string userName(uid_t user)
{
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    const bool isKnown = getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr;
    return isKnown ? printable(found->pw_name) : std::to_string(user);
}

// Whoever else may set the variable.
std::string sudoUser()
{
    constexpr size_t LONGEST = 256;
    const char* const name = geteuid() == 0 ? secure_getenv("SUDO_USER") : nullptr;
    return name == nullptr ? std::string() : printable(std::string_view(name).substr(0, LONGEST));
}

}  // namespace

SInvoker SInvoker::ofThisProcess()
{
    return {.user = userName(getuid()), .sudoUser = fictl::sudoUser(), .host = printable(systemHostName())};
}

}  // namespace fictl
