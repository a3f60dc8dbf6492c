#pragma once

#include "host/src/doctor_check.h"

namespace fictl {

/// The catalog at a path: rights, integrity, layout, records. Makes nothing and changes nothing.
Checks checkCatalog(const std::string& path);

}  // namespace fictl
