#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace fictl {

/// What this process holds that a provider may have left there.
struct SHoldings
{
    size_t descriptors = 0;
    size_t threads = 0;
    size_t children = 0;
    // 0 under a sanitizer, which maps memory as it likes and looks for leaks itself.
    size_t mappings = 0;
    size_t heap = 0;  ///< bytes

    static SHoldings now();
};

/// One thing that a provider may not change of the process, as a text.
struct STrait
{
    std::string name;
    std::string value;
};

/// Handling of each signal, and which are blocked in this thread.
std::vector<STrait> signalTraits();
/// Working directory, file mode mask, locale, environment and limits.
std::vector<STrait> surroundingTraits();

/// The first trait that is another one now, as "name: was value, is value"; empty when there is none.
std::string changeOf(const std::vector<STrait>& before, const std::vector<STrait>& after);

}  // namespace fictl
