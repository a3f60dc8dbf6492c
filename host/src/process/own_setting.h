#pragma once

#include <set>
#include <string>

namespace fictl {

/// A value of fictl's own, of /etc/qz/fictl.conf, as the words that commas or blanks separate; empty where the
/// administrator says nothing.
std::set<std::string> wordsOfSetting(const char* section, const char* name);

}  // namespace fictl
