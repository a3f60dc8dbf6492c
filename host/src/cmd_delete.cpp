#include <optional>

#include "host/src/catalog.h"
#include "host/src/commands.h"
#include "host/src/disposal.h"
#include "host/src/error.h"
#include "host/src/names.h"
#include "host/src/record_json.h"
#include "host/src/signals.h"

namespace fictl {

namespace {

constexpr std::initializer_list<EState> DELETABLE = {
    EState::CREATING,      EState::PARTIAL,  EState::FAILED,   EState::COMPLETE,      EState::IMPORTING,
    EState::IMPORT_FAILED, EState::IMPORTED, EState::DELETING, EState::DELETE_FAILED,
};

class CSnapshotDeletion
{
  public:
    CSnapshotDeletion(const SContext& context, CCatalog& catalog, const SSnapshot& snapshot)
        : m_context(context), m_catalog(catalog), m_snapshot(snapshot)
    {
    }

    /// Disposes of every group; returns what became of each. Throws when one was not confirmed.
    json run();
    bool touched() const { return m_touched; }  ///< whether the provider was asked for anything

  private:
    void dispose(const GroupKey& key, const SDevice& device);

    const SContext& m_context;
    CCatalog& m_catalog;
    const SSnapshot& m_snapshot;
    std::optional<CProvider> m_provider;
    bool m_touched = false;
    json m_groups = json::array();
    std::string m_failed;  // groups that were not confirmed
    SApplianceReport m_report;
};

json CSnapshotDeletion::run()
{
    for (const GroupKey& key : m_snapshot.groupsToDispose()) {
        stopPoint();
        for (const SDevice& device : m_snapshot.devices) {
            if (device.group() != key || device.made == EMade::NO) continue;
            dispose(key, device);
            break;
        }
    }
    if (m_failed.empty()) return m_groups;
    throw EFictl(EExit::NOT_DELETED,
                 "snapshot \"" + m_snapshot.name + "\": not deleted from group " + m_failed + "; the record stays",
                 "mend what the appliance reports, then fictl snapshot delete " + m_snapshot.name)
        .withReport(m_report)
        .about(m_snapshot.name);
}

void CSnapshotDeletion::dispose(const GroupKey& key, const SDevice& device)
{
    json group = {{"appliance", key.first}, {"group", key.second}, {"checkpoint", m_snapshot.checkpoint}};
    // Process ids come again: the checkpoint may be one that another snapshot made under the same name.
    if (const std::optional<std::string> owner = m_catalog.otherOwner(m_snapshot.name, key, m_snapshot.checkpoint)) {
        m_context.progress.step("keep the checkpoint of group " + groupText(key));
        CProgress::warn("checkpoint " + m_snapshot.checkpoint + " of group " + groupText(key) +
                        " belongs to snapshot \"" + *owner + "\" and stays");
        group["result"] = "kept";
        group["owner"] = *owner;
        m_groups.push_back(std::move(group));
        return;
    }
    if (!m_provider) m_provider.emplace(m_context.providerFor(m_snapshot));
    m_context.progress.step("delete time image and checkpoint of group " + groupText(key));
    m_touched = true;
    const SDisposal disposal = disposeGroup(*m_provider, device);
    group["result"] = disposal.confirmed ? "removed" : "failed";
    m_groups.push_back(std::move(group));
    if (disposal.confirmed) return;
    m_failed += (m_failed.empty() ? "" : ", ") + groupText(key) + " (status " + std::to_string(disposal.status) + ")";
    m_report.add(disposal.report);
}

SResult deletedResult(const std::string& name, const json& groups, bool forgotten)
{
    const json document = {{"deleted", {{"name", name}, {"groups", groups}, {"forgotten", forgotten}}}};
    return {document,
            "snapshot \"" + name + (forgotten ? "\" is forgotten; the appliance was not asked\n" : "\" is deleted\n")};
}

}  // namespace

SResult deleteSnapshot(const SContext& context, const std::string& name, bool forget)
{
    requireSnapshotName(name);
    CCatalog catalog;
    const SSnapshot before = catalog.take(name, EState::DELETING, DELETABLE, "deleted");
    if (!before.thaw.empty()) {
        CProgress::warn("the application may still be frozen; its thaw command was: " + printable(before.thaw));
    }
    if (forget) {
        catalog.remove(name);
        return deletedResult(name, json::array(), true);
    }
    CSnapshotDeletion deletion(context, catalog, before);
    json groups;
    try {
        groups = deletion.run();
    } catch (const EFictl& error) {
        // An error of the catalog would only come again.
        if (error.exit() == EExit::CATALOG) throw;
        SSnapshot after = before;
        if (deletion.touched()) {
            after.state = EState::DELETE_FAILED;
            after.owner = thisProcess();
            after.message = error.what();
        }
        catalog.update(after);
        throw;
    }
    catalog.remove(name);
    return deletedResult(name, groups, false);
}

}  // namespace fictl
