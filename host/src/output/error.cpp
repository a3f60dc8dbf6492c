#include "host/src/output/error.h"

#include <cerrno>
#include <system_error>

#include "host/src/text/plain_text.h"

namespace fictl {

EFictl::~EFictl() = default;

void failFile(const std::string& doing, const std::string& file)
{
    const std::string reason = std::error_code(errno, std::generic_category()).message();
    throw EFictl(EExit::IO, "cannot " + doing + " " + printable(file) + ": " + reason);
}

}  // namespace fictl
