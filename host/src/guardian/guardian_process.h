#pragma once

#include <sys/types.h>

#include "base/file_descriptor.h"
#include "host/src/guardian/guardian_link.h"

namespace fictl {

/**
 * What the guardian does from the fork to its end, which is the process's end: it never returns. It serves fictl over
 * the link until that has ended, which the link or the process descriptor tells, then kills the process groups that
 * are still entered and thaws what is frozen. It keeps no other descriptor of fictl's than standard error. The
 * descriptors lie above the standard ones; that of the process may be missing.
 */
[[noreturn]] void runGuardian(CGuardianLink link, base::CFileDescriptor fictl);

}  // namespace fictl
