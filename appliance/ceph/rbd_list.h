#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/ceph/ceph_error.h"

namespace lumora {

/// What a call of librbd or librados puts into an array of its caller's, with as much room as it takes.
/// @param fill gets the array and its length, sets that to how many there are, and returns -ERANGE when these do not
/// fit; another negative result is refused as checkCeph does
template <class Element, class Fill>
std::vector<Element> rbdList(Fill fill, std::string_view doing, const std::string& object)
{
    std::vector<Element> elements(64);
    for (;;) {
        size_t count = elements.size();
        const int64_t code = fill(elements.data(), &count);
        if (code != -ERANGE) {
            checkCeph(code, doing, object);
            elements.resize(count);
            return elements;
        }
        elements.resize(std::max(count, 2 * elements.size()));
    }
}

}  // namespace lumora
