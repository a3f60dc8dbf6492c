#pragma once

#include <string>
#include <string_view>

namespace fictl {

/// A snapshot's name: 1 to 128 letters, digits or "._:+@-", not beginning with "-" or ".".
bool isSnapshotName(std::string_view name);
/// A provider's name: 1 to 64 letters, digits or "_", not beginning with a digit.
bool isProviderName(std::string_view name);
/// Valid UTF-8 without control characters.
bool isPlainText(std::string_view text);
/// The text fit for a message: control characters and bytes that are not UTF-8 as \xNN.
std::string printable(std::string_view text);
/// "1 disk", "2 disks"
std::string counted(size_t number, const std::string& noun);
/// "2.3 s"
std::string secondsText(double seconds);

}  // namespace fictl
