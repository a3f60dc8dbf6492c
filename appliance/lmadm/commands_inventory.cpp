#include <memory>

#include "appliance/core/catalog/catalog.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/engines/engine_table.h"
#include "appliance/core/store/work_folder.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/host_setup.h"

namespace lumora {

namespace {

// A command with one name as its argument.
template <class Body>
void addNamed(CLI::App& parent, const char* word, const char* description, const char* argument, Body body)
{
    CLI::App* const command = parent.add_subcommand(word, description);
    const auto name = std::make_shared<std::string>();
    command->add_option("name", *name, argument)->required();
    command->callback([name, body] { body(*name); });
}

Json namesOf(const std::vector<SHost>& hosts)
{
    Json names = Json::array();
    for (const SHost& host : hosts) {
        names.push_back(host.name);
    }
    return names;
}

Json describeImage(CSession& session, const CBaseStorageEngine& engine, const SAppliance& appliance,
                   const STimeImage& image)
{
    CCatalog catalog(session.store().database());
    const auto folder = areaFolder(session.store().layout().appliance(appliance.name), EArea::IMAGES) / image.folder;
    Json luns = Json::array();
    for (const SImageLun& lun : catalog.timeImageLuns(image)) {
        luns.push_back({{"device", engine.hostPath(folder, lun.source.name).string()},
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
    const std::unique_ptr<CBaseStorageEngine> engine = makeEngine(session.store().engineSetup());
    Json images = Json::array();
    for (const STimeImage& image : catalog.timeImages(group)) {
        images.push_back(describeImage(session, *engine, appliance, image));
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
            {"engine", session.store().engineSetup().engine},
            {"hosts", namesOf(session.inventory().hosts(appliance))},
            {"groups", groups}};
}

}  // namespace

void addApplianceCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent =
        *app.add_subcommand("appliance", "Create, list, show and delete appliances")->require_subcommand(1);
    addNamed(parent, "create", "Create an appliance; makes the store when it is not there", "Name of the appliance",
             [&options](const std::string& name) {
                 // A bad name must not leave an empty store behind.
                 checkName(EObject::APPLIANCE, name);
                 CSession session(options, CStore::EMode::CREATE);
                 session.inventory().createAppliance(name);
                 session.print(CSession::describe(session.inventory().appliance(name)));
             });
    parent.add_subcommand("list", "List the appliances of the store")->callback([&options] {
        CSession session(options);
        Json list = Json::array();
        for (const SAppliance& appliance : session.inventory().appliances()) {
            list.push_back(CSession::describe(appliance));
        }
        session.printList("appliances", list);
    });
    addNamed(parent, "show", "Show an appliance with its hosts and groups", "Name of the appliance",
             [&options](const std::string& name) {
                 CSession session(options);
                 session.print(showApplianceDocument(session, name));
             });
    addNamed(parent, "delete", "Delete an appliance that has no groups and hosts any more", "Name of the appliance",
             [&options](const std::string& name) {
                 CSession session(options);
                 session.inventory().deleteAppliance(name);
                 session.print({{"deleted", name}});
             });
}

namespace {

void addHostSetup(CLI::App& parent, const SOptions& options)
{
    CLI::App* const command = parent.add_subcommand(
        "setup", "Write the configuration of a host: which store it uses, its appliances and its tools");
    struct SArguments
    {
        std::string root;
        std::string host;
        std::string tools;
    };
    const auto given = std::make_shared<SArguments>();
    command->add_option("--root", given->root, "Folder that stands for / on the host")->required();
    command->add_option("--host", given->host, "Name that the appliances know the host by")->required();
    command->add_option("--tools", given->tools, "Folder of lmsh and kforutil (default: where lmadm is)");
    command->callback([given, &options] {
        CSession session(options);
        session.print(setUpHost(session, {given->root, given->host, given->tools}));
    });
}

}  // namespace

void addHostCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent = *app.add_subcommand("host", "Create, list, set up and delete hosts")->require_subcommand(1);
    addNamed(parent, "create", "Make a host known to the appliance", "Name of the host",
             [&options](const std::string& name) {
                 CSession session(options);
                 session.inventory().createHost(session.appliance(), name);
                 session.print({{"name", name}});
             });
    parent.add_subcommand("list", "List the hosts that the appliance knows")->callback([&options] {
        CSession session(options);
        Json list = Json::array();
        for (const SHost& host : session.inventory().hosts(session.appliance())) {
            list.push_back({{"name", host.name}});
        }
        session.printList("hosts", list);
    });
    addNamed(parent, "delete", "Delete a host that has no LUNs and permissions any more", "Name of the host",
             [&options](const std::string& name) {
                 CSession session(options);
                 session.inventory().deleteHost(session.appliance(), name);
                 session.print({{"deleted", name}});
             });
    addHostSetup(parent, options);
}

void addGroupCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent =
        *app.add_subcommand("group", "Create, list, show and delete consistency groups")->require_subcommand(1);
    addNamed(parent, "create", "Create a consistency group", "Name of the group", [&options](const std::string& name) {
        CSession session(options);
        const SAppliance appliance = session.appliance();
        session.inventory().createGroup(appliance, name);
        session.print(CSession::describe(session.inventory().group(appliance, name)));
    });
    parent.add_subcommand("list", "List the consistency groups")->callback([&options] {
        CSession session(options);
        Json list = Json::array();
        for (const SGroup& group : session.inventory().groups(session.appliance())) {
            list.push_back(CSession::describe(group));
        }
        session.printList("groups", list);
    });
    addNamed(parent, "show", "Show a group with its LUNs, annotations and time images", "Name of the group",
             [&options](const std::string& name) {
                 CSession session(options);
                 session.print(showGroupDocument(session, name));
             });
    addNamed(parent, "delete", "Delete an empty group", "Name of the group", [&options](const std::string& name) {
        CSession session(options);
        session.inventory().deleteGroup(session.appliance(), name);
        session.print({{"deleted", name}});
    });
}

}  // namespace lumora
