#include "host/src/reconcile/comparison.h"

#include <algorithm>
#include <tuple>

#include "host/src/process/host_name.h"
#include "host/src/reconcile/left_files.h"
#include "host/src/reconcile/object_judge.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// A record that cannot be read may have what seems to have none.
std::string doubtOf(const SCatalogView& catalog)
{
    if (catalog.records.unreadable.empty()) return {};
    return "record \"" + printable(catalog.records.unreadable.front().name) + "\", which cannot be read, may have it";
}

auto placeOf(const SFoundObject& object)
{
    return std::tie(object.klass, object.kind, object.group, object.name);
}

}  // namespace

SReconciliation compare(const SComparison& comparison)
{
    const CUnderWay underWay(comparison.before, comparison.after);
    const std::string host = printable(systemHostName());
    const CHistoryProof proof(comparison.after.history, host, doubtOf(comparison.after));
    SReconciliation found;
    CObjectJudge(comparison, underWay, proof, found).run();
    if (comparison.withFiles) {
        judgeLeftFiles(comparison.after, underWay, host, comparison.temporaryFolder, found);
    }
    std::stable_sort(found.objects.begin(), found.objects.end(),
                     [](const SFoundObject& a, const SFoundObject& b) { return placeOf(a) < placeOf(b); });
    return found;
}

}  // namespace fictl
