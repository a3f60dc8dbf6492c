#include <nlohmann/json.hpp>

#include "appliance/core/catalog/catalog.h"
#include "appliance/core/content/migration.h"
#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/engines/table/engine_table.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/session.h"

namespace lumora {

namespace {

Json namesOf(const std::vector<SHost>& hosts)
{
    Json names = Json::array();
    for (const SHost& host : hosts) {
        names.push_back(host.name);
    }
    return names;
}

Json describeImage(CSession& session, const SAppliance& appliance, const STimeImage& image)
{
    CCatalog catalog(session.store().database());
    const SLayout& layout = session.store().layout();
    Json luns = Json::array();
    for (const SImageLun& lun : catalog.timeImageLuns(image)) {
        luns.push_back({{"device", layout.imageLun(appliance.name, image.folder, lun.source.name).string()},
                        {"serial", lun.serial},
                        {"source", lun.source.name},
                        {"source_serial", lun.source.serial}});
    }
    return {{"name", image.name},
            {"annotation", image.annotation},
            {"created", image.created},
            {"permissions", namesOf(catalog.grantedHosts(image))},
            {"luns", luns}};
}

Json showGroupDocument(CSession& session, const std::string& name)
{
    const CTransaction transaction(session.store().database(), CTransaction::EKind::READ);
    CCatalog catalog(session.store().database());
    const SAppliance appliance = session.appliance();
    const SGroup group = session.inventory().group(appliance, name);
    Json luns = Json::array();
    for (const SLun& lun : session.inventory().luns(group)) {
        luns.push_back(session.describe(appliance, lun));
    }
    Json annotations = Json::array();
    for (const SAnnotation& annotation : catalog.annotations(group)) {
        annotations.push_back({{"name", annotation.name},
                               {"created", annotation.created},
                               {"message", annotation.message},
                               {"time_images", annotation.timeImages}});
    }
    Json images = Json::array();
    for (const STimeImage& image : catalog.timeImages(group)) {
        images.push_back(describeImage(session, appliance, image));
    }
    return {{"name", group.name},
            {"appliance", appliance.name},
            {"luns", luns},
            {"permissions", namesOf(catalog.grantedHosts(group))},
            {"annotations", annotations},
            {"time_images", images}};
}

Json showApplianceDocument(CSession& session, const std::string& name)
{
    const SAppliance appliance = session.inventory().appliance(name);
    Json groups = Json::array();
    for (const SGroup& group : session.inventory().groups(appliance)) {
        groups.push_back(CSession::describe(group));
    }
    return {{"name", appliance.name},
            {"created", appliance.created},
            {"folder", session.store().layout().appliance(appliance.name).string()},
            {"engine", appliance.engine},
            {"hosts", namesOf(session.inventory().hosts(appliance))},
            {"groups", groups}};
}

}  // namespace

void createAppliance(const SOptions& options, const SNewAppliance& given)
{
    // A bad name must not leave an empty store behind.
    checkName(EObject::APPLIANCE, given.name);
    if (!given.engine.empty()) checkEngineName(given.engine);
    CSession session(options, CStore::EMode::CREATE);
    const std::string engine = given.engine.empty() ? session.store().engineSetup().engine : given.engine;
    session.inventory().createAppliance(given.name, engine);
    session.print(CSession::describe(session.inventory().appliance(given.name)));
}

void listAppliances(const SOptions& options)
{
    CSession session(options);
    Json list = Json::array();
    for (const SAppliance& appliance : session.inventory().appliances()) {
        list.push_back(CSession::describe(appliance));
    }
    session.printList("appliances", list);
}

void showAppliance(const SOptions& options, const std::string& name)
{
    CSession session(options);
    session.print(showApplianceDocument(session, name));
}

void deleteAppliance(const SOptions& options, const std::string& name)
{
    CSession session(options);
    session.inventory().deleteAppliance(name);
    session.print({{"deleted", name}});
}

void stopAppliance(const SOptions& options, const std::string& name)
{
    CSession session(options);
    const SAppliance appliance = session.inventory().appliance(name);
    session.store().makeEngine(appliance.name, appliance.engine)->stop();
    session.print({{"stopped", name}});
}

void migrateAppliance(const SOptions& options, const SMigration& given)
{
    CSession session(options);
    migrateAppliance(session.store(), session.inventory().appliance(given.name), given.engine);
    session.print({{"name", given.name}, {"engine", given.engine}});
}

void keepAppliance(const SOptions& options, const SKeeping& given)
{
    CSession session(options);
    const SAppliance appliance = session.inventory().appliance(given.name);
    const EKeep what = given.unlessStopped ? EKeep::UNLESS_STOPPED : EKeep::ALSO_STOPPED;
    if (!session.store().makeEngine(appliance.name, appliance.engine)->keep(what)) {
        throw EApplianceError(EStatus::MALFORMED, "appliance " + inQuotes(given.name) + " is kept by engine " +
                                                      inQuotes(appliance.engine) + ", for which nothing runs");
    }
}

void createHost(const SOptions& options, const std::string& name)
{
    CSession session(options);
    session.inventory().createHost(session.appliance(), name);
    session.print({{"name", name}});
}

void listHosts(const SOptions& options)
{
    CSession session(options);
    Json list = Json::array();
    for (const SHost& host : session.inventory().hosts(session.appliance())) {
        list.push_back({{"name", host.name}});
    }
    session.printList("hosts", list);
}

void deleteHost(const SOptions& options, const std::string& name)
{
    CSession session(options);
    session.inventory().deleteHost(session.appliance(), name);
    session.print({{"deleted", name}});
}

void createGroup(const SOptions& options, const std::string& name)
{
    CSession session(options);
    const SAppliance appliance = session.appliance();
    session.inventory().createGroup(appliance, name);
    session.print(CSession::describe(session.inventory().group(appliance, name)));
}

void listGroups(const SOptions& options)
{
    CSession session(options);
    Json list = Json::array();
    for (const SGroup& group : session.inventory().groups(session.appliance())) {
        list.push_back(CSession::describe(group));
    }
    session.printList("groups", list);
}

void showGroup(const SOptions& options, const std::string& name)
{
    CSession session(options);
    session.print(showGroupDocument(session, name));
}

void deleteGroup(const SOptions& options, const std::string& name)
{
    CSession session(options);
    session.inventory().deleteGroup(session.appliance(), name);
    session.print({{"deleted", name}});
}

}  // namespace lumora
