#include "host/src/output/error.h"

namespace fictl {

EFictl::~EFictl() = default;

}  // namespace fictl
