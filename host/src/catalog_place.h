#pragma once

#include <string>

namespace fictl {

/// Path of the catalog's file, its folder (0700) and the file itself (0600) created where missing. Folders above are
/// created with the usual rights. Throws EFictl (CATALOG).
std::string prepareCatalogFile();

}  // namespace fictl
