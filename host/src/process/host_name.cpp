#include "host/src/process/host_name.h"

#include <sys/utsname.h>

namespace fictl {

std::string systemHostName()
{
    utsname system{};
    return uname(&system) == 0 ? system.nodename : "";
}

}  // namespace fictl
