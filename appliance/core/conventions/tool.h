#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// Runs the body of a tool's main(): its result is the exit status. A refusal becomes one line "PROGRAM: text" on
/// standard error and its status; anything unforeseen status unexpected.
int runTool(const char* program, const std::function<int()>& body);

/// Writes lines to standard output; status storage when they cannot all be written.
void printLines(const std::vector<std::string>& lines);
void printBytes(std::string_view bytes);

}  // namespace lumora
