#include "host/src/error.h"

namespace fictl {

EFictl::~EFictl() = default;

}  // namespace fictl
