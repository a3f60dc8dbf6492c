#pragma once

namespace cdpfi::inspect {

/// The program: reads the command line, writes one document to standard output. @return its exit status
int runCommandLine(int argc, const char* const* argv);

}  // namespace cdpfi::inspect
