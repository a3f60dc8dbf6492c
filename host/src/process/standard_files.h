#pragma once

namespace fictl {

/**
 * Puts something harmless where standard input, output or error was closed by the caller. Without it the next file
 * that is opened, the catalog for one, would take the free number, and what is written to standard output would go
 * into it. Reading or writing such a file fails as with a closed one.
 */
void fillClosedStandardFiles();

}  // namespace fictl
