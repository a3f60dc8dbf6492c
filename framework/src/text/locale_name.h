#pragma once

#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// A locale's name as bundles are named: "de_DE.UTF-8" and "de-de" give "de_DE", "ZH-hans" gives "zh_Hans". Empty, the
/// name of the root locale, for "C", "POSIX" and whatever is no locale name.
std::string normalizeLocale(const std::string& locale);

/// The bundles to ask for a message, nearest first: for "de_DE" de_DE, de, root.
std::vector<std::string> localeChain(const std::string& locale, const std::string& rootName);

}  // namespace obzx_pdk_4_4
