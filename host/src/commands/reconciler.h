#pragma once

#include <memory>
#include <set>
#include <string>

#include "host/src/commands/command.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/reconcile/comparison.h"

namespace fictl {

/// One look at catalog, appliances and this host, with what it was made of.
class CReconciler
{
  public:
    enum class EScope
    {
        ALL,
        OBJECTS,  ///< of the groups given, and the records
        FILES,    ///< what is on this host alone
    };

    /// Looks. Throws EFictl (CATALOG) when the catalog cannot be read, EFictl (STOPPED).
    explicit CReconciler(const SContext& context, EScope scope = EScope::ALL, const std::set<GroupKey>& groups = {});

    const SReconciliation& found() const { return m_found; }
    const SCatalogView& catalog() const { return m_after; }
    /// Null when nobody could look.
    const SInspection* seen() const { return m_knowledge.seen(); }
    const std::string& provider() const { return m_provider; }  ///< its name

  private:
    std::string m_provider;
    CKnowledge m_knowledge;
    SCatalogView m_after;
    SReconciliation m_found;
};

}  // namespace fictl
