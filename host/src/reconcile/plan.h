#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/src/reconcile/catalog_view.h"
#include "host/src/reconcile/found_object.h"

namespace fictl {

enum class EAction
{
    DELETE_CHECKPOINT,  ///< an orphan, with its time image where that is one, too
    FORGET_RECORD,      ///< a stale one: the appliances are asked for nothing
    REMOVE_FILE,        ///< an orphan
};

const char* actionText(EAction action);

struct SPlanStep
{
    EAction action = EAction::DELETE_CHECKPOINT;
    SFoundObject object;     ///< as it was found; its record is the one that is made for the deletion
    bool withImage = false;  ///< the checkpoint's time image goes, too

    /// The kind and class that the action is for.
    static EObjectClass classFor(EAction action);
    static bool isFor(EAction action, EObjectKind kind);
};

/**
 * What is to be done, for one host and one catalog:
 *
 *     { "format": "fictl-reconcile-plan", "version": 1, "host": ..., "catalog": ..., "provider": ..., "written": ...,
 *       "steps": [ { "action": ..., "kind": ..., "appliance": ..., "group": ..., "name": ..., "time": ..., "record":
 * ..., "entry": ..., "with_image": ..., "evidence": [...] } ] }
 *
 * Nothing in it is believed: a step is done only when a fresh comparison finds the same object with the same evidence.
 */
struct SPlan
{
    std::string host;
    std::string catalog;
    std::string provider;
    std::string written;
    std::vector<SPlanStep> steps;
};

/// Most bytes of a plan.
constexpr size_t PLAN_LIMIT = size_t{64} * 1024 * 1024;

/// What can be done about what was found. Each deletion gets a record's name that the catalog does not have.
std::vector<SPlanStep> stepsFor(const SReconciliation& found, const SCatalogView& catalog);

nlohmann::json planJson(const SPlan& plan);
/// Throws EFictl (BAD_RECORD) that says what is wrong.
SPlan readPlan(std::string_view text);

/// Why a step is not to be done with what is found now; empty when it is the same.
std::string differenceOf(const SPlanStep& step, const SReconciliation& found, const SFoundObject& now);

}  // namespace fictl
