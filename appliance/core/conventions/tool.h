#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// What a tool prints, one element a line.
using Lines = std::vector<std::string>;

/// Runs the body of a tool's main(): its result is the exit status. A refusal becomes one line "PROGRAM: text" on
/// standard error and its status; anything unforeseen status unexpected.
int runTool(const char* program, const std::function<int()>& body);

/// What runTool does last, with the exit status that it would return; it may end the process. For a library that cannot
/// be left to the handlers which run when main() has returned.
void setToolEnd(void (*end)(int status));

/// Writes lines to standard output; status storage when they cannot all be written.
void printLines(const Lines& lines);
void printBytes(std::string_view bytes);

}  // namespace lumora
