#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "framework/include/ccmnnetwork.h"
#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/// The name that this host goes by, as the provider takes it, and what the resolver knows of it.
SHostName describeHost(const obzx_cmn_4_4::SHostInfo& local, const std::string& localName);

/**
 * Which of an appliance's hosts this host is: the one that has this host's own name, else one that has a name of this
 * host, else one that shares an address with it; of several the last. Names are compared without regard to case.
 * @param resolve what the resolver knows of a name; not asked when this host has no address, as no host shares one then
 */
std::optional<SHostHere> findHostHere(const std::vector<SHost>& hosts, const obzx_cmn_4_4::SHostInfo& local,
                                      const std::string& localName,
                                      const std::function<obzx_cmn_4_4::SHostInfo(const std::string&)>& resolve);

}  // namespace cdpfi::inspect
