#pragma once

#include <cstddef>
#include <vector>

#include "host/src/report/report.h"

namespace fictl {

/// Something that is to be drawn at a place from 0 to 1.
struct SPlaced
{
    double at = 0;
    EMark mark = EMark::COMPLETE;
    size_t member = 0;
};

/// What is drawn as one mark, since there is no room for each.
struct SCluster
{
    double at = 0;                 ///< of its first member
    EMark mark = EMark::COMPLETE;  ///< of its members the one that deserves a look most
    std::vector<size_t> members{};
};

/// Marks of which no two are closer than that. What is placed must be in order.
std::vector<SCluster> clustersOf(const std::vector<SPlaced>& placed, double distance);

}  // namespace fictl
