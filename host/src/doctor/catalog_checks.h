#pragma once

#include "host/src/doctor/checks.h"

namespace fictl {

/// The catalog at a path: rights, integrity, layout, records. Makes nothing and changes nothing.
Checks checkCatalog(const std::string& path);

}  // namespace fictl
