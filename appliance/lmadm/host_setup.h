#pragma once

#include <string>

#include "appliance/lmadm/session.h"

namespace lumora {

struct SHostSetup
{
    std::string root;   ///< folder that stands for "/" on the host
    std::string host;   ///< its name on the appliances
    std::string tools;  ///< folder of lmsh and kforutil; empty: the folder of the running program
};

/// Makes the files by which a host finds its appliances and tools, each replaced in one step:
///   <root>/etc/qz/appliance.conf   store and host name, for lmsh and kforutil
///   <root>/etc/qz/hls.conf         one RSURL line for each appliance of the store; other lines stay
///   <root>/etc/qz/cdpfi.conf       tool paths and host name of the provider; other settings stay
///   <root>/opt/QXPKlm/bin/lmsh     link to lmsh
/// Running it again brings them up to date. Status missing when no appliance knows the host, malformed when the tools
/// are not where they should be. Returns what was written.
Json setUpHost(CSession& session, const SHostSetup& setup);

}  // namespace lumora
