#pragma once

#include <string>
#include <vector>

namespace fictl {

/// The words of a command line as the history shows it: quotes around a word, and \' for a quote, are taken back.
std::vector<std::string> shellWords(const std::string& line);
/// The words of a text that any of the separators stand between.
std::vector<std::string> separatedWords(const std::string& text, const char* separators);
/// What an option was given: "--file FILE" and "--file=FILE".
std::vector<std::string> valuesOf(const std::vector<std::string>& words, const std::string& option);
/// Whether the words, the program's first, are a command such as "snapshot", "export": options of all commands may
/// stand before either.
bool hasCommand(const std::vector<std::string>& words, const std::string& group, const std::string& name);

}  // namespace fictl
