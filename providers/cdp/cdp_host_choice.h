#pragma once

#include <vector>

#include "framework/include/ccmnnetwork.h"
#include "pdk/include/cfitracelog.h"
#include "providers/cdp/model/base_host.h"

namespace cdpfi {

/**
 * Which of an appliance's hosts this host is. Of several that match, the last in the list is taken.
 * @param log traces the walk
 * @return empty when the appliance does not know this host
 */
CHostPtr chooseLocalHost(const std::vector<CHostPtr>& hosts, const obzx_cmn_4_4::CCmnNetwork& network,
                         const obzx_pdk_4_4::CFiTraceable& log);

}  // namespace cdpfi
