#include "host/src/commands/reconciler.h"

#include "host/src/output/private_folder.h"
#include "host/src/process/signals.h"
#include "host/src/provider/provider_library.h"

namespace fictl {

CReconciler::CReconciler(const SContext& context, EScope scope, const std::set<GroupKey>& groups)
    : m_provider(CProviderLibrary::nameOf(context.chosenProvider())),
      m_knowledge(context.chosenProvider(), context.timeout, groups)
{
    const SCatalogView before = viewCatalog();
    if (scope != EScope::FILES) {
        context.progress.step("look at the appliances");
        m_knowledge.look();
        stopPoint();
    }
    m_after = viewCatalog();
    m_found = compare({.provider = m_provider,
                       .before = before,
                       .after = m_after,
                       .seen = m_knowledge.seen(),
                       .why = m_knowledge.why(),
                       .temporaryFolder = temporaryFolder(),
                       .withFiles = scope != EScope::OBJECTS});
}

}  // namespace fictl
