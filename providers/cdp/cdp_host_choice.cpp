#include "providers/cdp/cdp_host_choice.h"

#include <string>

#include "framework/include/cfistringtool.h"

namespace cdpfi {

using obzx_cmn_4_4::CCmnNetwork;
using obzx_cmn_4_4::SHostInfo;
using obzx_pdk_4_4::CFiTraceable;
using obzx_pdk_4_4::TRACE_FAILURE;
using obzx_pdk_4_4::TRACE_INFO;

namespace {

void traceHost(const CFiTraceable& log, const char* format, const SHostInfo& host)
{
    if (!log.isTraceEnabled(TRACE_INFO)) return;
    std::string names;
    for (const std::string& name : host.names) {
        names += name;
    }
    log.trace(TRACE_INFO, format, host.name, names, host.addressText);
}

}  // namespace

CHostPtr chooseLocalHost(const std::vector<CHostPtr>& hosts, const CCmnNetwork& network, const CFiTraceable& log)
{
    const std::string localName = network.getFQDN();
    log.trace(TRACE_INFO, "importNode - Setting host to localhost [%s]", localName);
    // One answer serves the whole walk: asking the resolver again for every host would only cost time.
    const SHostInfo local = hosts.empty() ? SHostInfo() : network.resolve(localName);
    CHostPtr chosen;
    for (const CHostPtr& host : hosts) {
        const CString name = host->getName();
        const SHostInfo candidate = network.resolve(obzx_pdk_4_4::CFiStringTool::tstr2str(name));
        traceHost(log, "importNode - obzxHost[%s][%s][%s]", local);
        traceHost(log, "importNode - applianceHost[%s][%s][%s]", candidate);
        if (!CCmnNetwork::compare(local, candidate)) continue;
        log.trace(TRACE_INFO, "importNode - Found a entry in appliance host list matching with hostName [%s]", name);
        chosen = host;
    }
    if (!chosen) log.trace(TRACE_FAILURE, "Could not find host [%s] in appliance configuration", localName);
    return chosen;
}

}  // namespace cdpfi
