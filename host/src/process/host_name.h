#pragma once

#include <string>

namespace fictl {

/// The name that the system gives this host; empty when it has none.
std::string systemHostName();

}  // namespace fictl
