#include <vector>

#include "host/src/provider_check/checks.h"

namespace fictl {

std::span<const SProviderCheck> providerChecks()
{
    static const std::vector<SProviderCheck> all = [] {
        std::vector<SProviderCheck> checks;
        for (const auto subject : {libraryChecks(), argumentChecks(), orderChecks(), snapshotChecks(), messageChecks(),
                                   memoryChecks(), processChecks(), sharingChecks()}) {
            checks.insert(checks.end(), subject.begin(), subject.end());
        }
        return checks;
    }();
    return all;
}

const SProviderCheck* findProviderCheck(const std::string& name)
{
    for (const SProviderCheck& check : providerChecks()) {
        if (name == check.name) return &check;
    }
    return nullptr;
}

}  // namespace fictl
