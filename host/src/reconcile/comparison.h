#pragma once

#include <string>

#include "host/src/inspection/inspection.h"
#include "host/src/reconcile/catalog_view.h"
#include "host/src/reconcile/found_object.h"
#include "host/src/reconcile/proof.h"

namespace fictl {

/// What is compared. All that is pointed at must outlive the comparison.
struct SComparison
{
    std::string provider;           ///< its name
    const SCatalogView& before;     ///< before the look
    const SCatalogView& after;      ///< after it
    const SInspection* seen;        ///< null: nobody could look
    std::string why;                ///< nobody could
    std::string temporaryFolder{};  ///< where scripts are; empty: is not looked at
    bool withFiles = true;          ///< also what commands have left of files
};

/**
 * Compares catalog, appliances and this host. Whatever an appliance does not tell is unknown; what lies there and
 * nothing proves to be ours is foreign, whatever its name looks like. Changes nothing.
 */
SReconciliation compare(const SComparison& comparison);

}  // namespace fictl
