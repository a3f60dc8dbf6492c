#pragma once

#include "host/src/doctor/checks.h"

namespace fictl {

/// A file or folder that decides what fictl runs: nobody but its owner and root may change it.
Checks checkTrusted(const std::string& what, const std::string& path);
/// fictl's own configuration; nothing when there is none, as nothing has to be set.
Checks checkOwnConfiguration();
/// The folder where tools' scripts are put: a file is made there and taken away again.
SCheck checkTemporaryFolder();
/// A provider's trace file; a size of 0 is not known.
SCheck checkTraceFile(const std::string& path, uint64_t sizeLimit);
/// Whether the folder can be made, or written to when it is there.
SCheck checkFolder(const char* name, const std::string& what, const std::string& path, ELevel otherwise);

}  // namespace fictl
