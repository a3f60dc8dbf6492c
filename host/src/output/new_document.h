#pragma once

#include <string>
#include <string_view>

namespace fictl {

/// Before anything is done, so that a mistake costs nothing. Throws EFictl (EXISTS) for a file that is there and may
/// not be replaced, and EFictl (IO) for a device or a folder, which never is.
void requireRoom(const std::string& file, bool mayReplace);

/// Makes a file with that text as CNewFile does. Throws EFictl (EXISTS) for one that is there and may not be replaced.
void writeNewDocument(const std::string& file, std::string_view text, bool mayReplace);

}  // namespace fictl
