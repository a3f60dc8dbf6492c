#pragma once

namespace fictl {

/// Reads the command line, runs the command and returns the process's exit code. Throws nothing.
int runCommandLine(int argc, char** argv);

}  // namespace fictl
