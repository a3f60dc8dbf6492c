#pragma once

#include <string>

namespace fictl {

/// The folder where the scripts of a provider's tools are put.
std::string temporaryFolder();

}  // namespace fictl
