#include "providers/cdp/inspect/host_section.h"

#include <strings.h>

namespace cdpfi::inspect {

using obzx_cmn_4_4::CCmnNetwork;
using obzx_cmn_4_4::SHostInfo;

namespace {

bool sameName(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && strcasecmp(a.c_str(), b.c_str()) == 0;
}

/// Whether any address is no loopback address: those are the same on all hosts.
bool hasAddressOfItsOwn(const SHostInfo& host)
{
    const SHostInfo addresses{{}, {}, {}, host.addresses};
    return CCmnNetwork::compare(addresses, addresses);
}

bool shareName(SHostInfo local, SHostInfo candidate)
{
    local.addresses.clear();
    candidate.addresses.clear();
    return CCmnNetwork::compare(local, candidate);
}

}  // namespace

SHostName describeHost(const SHostInfo& local, const std::string& localName)
{
    SHostName host;
    if (localName.empty()) {
        host.problem = "this host has no name";
        return host;
    }
    host.name = localName;
    std::set<std::string> names = local.names;
    names.insert(local.name);
    names.erase(localName);
    host.furtherNames.assign(names.begin(), names.end());
    if (local.addresses.empty()) host.problem = "the resolver knows no address of " + localName;
    return host;
}

std::optional<SHostHere> findHostHere(const std::vector<SHost>& hosts, const SHostInfo& local,
                                      const std::string& localName, const CResolver& resolve)
{
    std::optional<SHostHere> byName;
    std::optional<SHostHere> byAddress;
    for (const SHost& host : hosts) {
        if (sameName(host.name, localName)) return SHostHere{host.name, true};
    }
    const bool ask = hasAddressOfItsOwn(local);
    for (const SHost& host : hosts) {
        const SHostInfo candidate = ask ? resolve(host.name) : SHostInfo{host.name, {host.name}, {}, {}};
        if (shareName(local, candidate)) {
            byName = {host.name, true};
        } else if (CCmnNetwork::compare(local, candidate)) {
            byAddress = {host.name, false};
        }
    }
    return byName ? byName : byAddress;
}

}  // namespace cdpfi::inspect
