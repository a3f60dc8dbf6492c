#include "host/src/process/standard_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

namespace fictl {

void fillClosedStandardFiles()
{
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(file, F_GETFD) >= 0 || errno != EBADF) continue;
        // Opened for the opposite direction, so that its use fails. It gets the lowest free number, which is this one.
        const int direction = file == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", direction) < 0) return;
    }
}

}  // namespace fictl
