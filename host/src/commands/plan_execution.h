#pragma once

#include <nlohmann/json_fwd.hpp>

#include "host/src/catalog/catalog.h"
#include "host/src/commands/command.h"
#include "host/src/reconcile/plan.h"

namespace fictl {

/// What became of one step.
struct SStepResult
{
    const char* result = "done";  ///< done, gone, skipped or failed
    std::string reason{};         ///< why it was skipped or failed

    bool isWell() const { return reason.empty(); }
};

/**
 * Does the steps of a plan, each after a look of its own. A checkpoint gets a record first and is then deleted as any
 * snapshot is, with all its guards; so one whose deletion was disturbed has that record, and the same step goes on with
 * it. A guardian must be there.
 */
class CPlanExecution
{
  public:
    CPlanExecution(const SContext& context, CCatalog& catalog) : m_context(context), m_catalog(catalog) {}

    /// Throws EFictl (CATALOG) or EFictl (STOPPED); any other failure concerns its step alone.
    SStepResult run(const SPlanStep& step);

  private:
    SStepResult act(const SPlanStep& step);
    SStepResult deleteCheckpoint(const SPlanStep& step);
    SStepResult goOnDeleting(const SPlanStep& step);
    SStepResult deleteAdopted(const SPlanStep& step);
    void dropUntouched(const std::string& name);
    SStepResult forgetRecord(const SPlanStep& step);
    SStepResult removeFile(const SPlanStep& step) const;

    const SContext& m_context;
    CCatalog& m_catalog;
};

}  // namespace fictl
