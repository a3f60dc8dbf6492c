#pragma once

#include <string>

#include "host/src/output/error.h"
#include "host/src/output/result.h"

namespace fictl {

/// What went wrong: code, name of the code, message, next step, failed appliance commands, the provider's messages; how
/// long the application was frozen, if it was.
json errorJson(const EFictl& error);
/// An error for a terminal, in lines.
std::string errorText(const EFictl& error);
/// Failed appliance commands and the provider's messages, for a terminal, in lines; empty when there are none.
std::string reportText(const SApplianceReport& report);

}  // namespace fictl
