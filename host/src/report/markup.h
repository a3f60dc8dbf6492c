#pragma once

#include <string>
#include <string_view>

namespace fictl {

/// A text as it stands between tags and between double quotes: what would end either is written out, control characters
/// and bytes that are not UTF-8 are made visible.
std::string escaped(std::string_view text);

/// A name in a line of other words: it cannot turn the direction in which those are read.
std::string isolated(std::string_view name);

/// "12.34%" of a part from 0 to 1.
std::string percent(double part);

/// What a Content-Security-Policy allows these very bytes by: "sha256-..." in single quotes. Throws EFictl (INTERNAL)
/// when no digest can be had.
std::string policySource(std::string_view bytes);

}  // namespace fictl
