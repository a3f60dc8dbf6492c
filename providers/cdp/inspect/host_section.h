#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "framework/include/ccmnnetwork.h"
#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/// Gives what the resolver knows of a name.
using CResolver = std::function<obzx_cmn_4_4::SHostInfo(const std::string&)>;

/// Describes this host.
/// @param local     what the resolver knows of the name
/// @param localName the name that this host goes by, found as the provider finds it
SHostName describeHost(const obzx_cmn_4_4::SHostInfo& local, const std::string& localName);

/**
 * Which of an appliance's hosts this host is: the one that has this host's own name, else one that has a name of this
 * host, else one that shares an address with it; of several the last. Names are compared without regard to case.
 * @param resolve not asked when this host has no address but those of every host
 */
std::optional<SHostHere> findHostHere(const std::vector<SHost>& hosts, const obzx_cmn_4_4::SHostInfo& local,
                                      const std::string& localName, const CResolver& resolve);

}  // namespace cdpfi::inspect
