#include "host/src/reconcile/found_object.h"

#include <algorithm>

#include "host/src/provider/naming.h"

namespace fictl {

const char* kindText(EObjectKind kind)
{
    constexpr const char* TEXTS[] = {"checkpoint", "time image", "copy", "record", "part file", "script"};
    return TEXTS[static_cast<size_t>(kind)];
}

const char* classText(EObjectClass klass)
{
    constexpr const char* TEXTS[] = {"orphan", "stale", "unknown", "in flight", "foreign", "owned"};
    return TEXTS[static_cast<size_t>(klass)];
}

std::string SFoundObject::evidenceText() const
{
    std::string all;
    for (const SEvidence& each : evidence) {
        all += (all.empty() ? "" : "; ") + each.text;
    }
    return all;
}

size_t SReconciliation::count(EObjectClass klass) const
{
    return static_cast<size_t>(std::count_if(objects.begin(), objects.end(),
                                             [klass](const SFoundObject& object) { return object.klass == klass; }));
}

const SFoundObject* SReconciliation::find(const SFoundObject& wanted) const
{
    const auto found = std::find_if(objects.begin(), objects.end(),
                                    [&](const SFoundObject& object) { return object.isSameAs(wanted); });
    return found == objects.end() ? nullptr : &*found;
}

const SFoundObject* SReconciliation::imageOf(const SFoundObject& checkpoint) const
{
    return find(
        {.kind = EObjectKind::IMAGE, .group = checkpoint.group, .name = naming::imageOfCheckpoint(checkpoint.name)});
}

}  // namespace fictl
