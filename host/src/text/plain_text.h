#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/plain_text.h"

namespace fictl {

/// A snapshot's name: 1 to 128 letters, digits or "._:+@-", not beginning with "-" or ".".
bool isSnapshotName(std::string_view name);
/// A provider's name: 1 to 64 letters, digits or "_", not beginning with a digit.
bool isProviderName(std::string_view name);
using base::asUtf8;
using base::isPlainText;
using base::isUtf8;
using base::printable;
/// The parts of texts such as "a,b", those of the first one first; empty parts count.
std::vector<std::string> commaSeparated(const std::vector<std::string>& texts);
/// "1 disk", "2 disks"
std::string counted(size_t number, const std::string& noun);
/// "2.3 s"
std::string secondsText(double seconds);

}  // namespace fictl
