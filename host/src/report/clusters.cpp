#include "host/src/report/clusters.h"

#include <algorithm>

namespace fictl {

std::vector<SCluster> clustersOf(const std::vector<SPlaced>& placed, double distance)
{
    std::vector<SCluster> clusters;
    for (const SPlaced& each : placed) {
        const bool isNext = !clusters.empty() && each.at - clusters.back().at < distance;
        if (!isNext) clusters.push_back({.at = each.at, .mark = each.mark});
        clusters.back().mark = std::max(clusters.back().mark, each.mark);
        clusters.back().members.push_back(each.member);
    }
    return clusters;
}

}  // namespace fictl
