#include "appliance/core/shell/command_table.h"

#include <utility>

#include "appliance/core/conventions/error.h"
#include "appliance/core/shell/line_pattern.h"
#include "appliance/core/shell/listing.h"

namespace lumora {

namespace {

constexpr SBodyLine SET_MESSAGE = {"set message WORD"};
constexpr SBodyLine USE_ANNOTATION = {"use annotation \"A\"", EOccurs::REQUIRED};
constexpr SBodyLine GRANT_TO_HOST = {"add permission \"H\"", EOccurs::REPEATED};
constexpr SBodyLine SET_PRESERVE_MODE = {"set preserve mode no|yes"};
constexpr SBodyLine SET_PREVENT_EXPIRATION = {"set prevent expiration timeout N"};
constexpr SBodyLine SET_PROACTIVE_EXPIRATION = {"set proactive expiration timeout N"};
constexpr SBodyLine ADD_PERMISSION = {"add permission \"H\"", EOccurs::CHANGE};
constexpr SBodyLine DELETE_PERMISSION = {"delete permission \"H\"", EOccurs::CHANGE};

// A keyword line names the object first and its group last.
const std::string& objectName(const SCommand& command)
{
    return command.names.front();
}

const std::string& groupName(const SCommand& command)
{
    return command.names.back();
}

Lines done(EObject object, const std::string& name, const char* what)
{
    return {std::string(objectWord(object)) + " " + inQuotes(name) + " " + what};
}

Lines runListHosts(SShellTarget& target, const SCommand& /*command*/)
{
    return listHosts(target.inventory.hosts(target.appliance));
}

Lines runListGroups(SShellTarget& target, const SCommand& /*command*/)
{
    return listGroups(target.inventory.groups(target.appliance));
}

Lines runShowHost(SShellTarget& target, const SCommand& command)
{
    const CTransaction transaction(target.store.database(), CTransaction::EKind::READ);
    const SHost host = target.inventory.host(target.appliance, objectName(command));
    return showHost(host, target.inventory.lunsPresentedTo(host));
}

Lines runShowGroup(SShellTarget& target, const SCommand& command)
{
    const CTransaction transaction(target.store.database(), CTransaction::EKind::READ);
    const SGroup group = target.inventory.group(target.appliance, groupName(command));
    return showGroup({.group = group,
                      .luns = target.inventory.luns(group),
                      .hosts = target.catalog.grantedHosts(group),
                      .annotations = target.catalog.annotations(group),
                      .timeImages = target.catalog.timeImages(group)});
}

Lines runCreateAnnotation(SShellTarget& target, const SCommand& command)
{
    target.protection.createAnnotation(target.appliance, groupName(command), objectName(command),
                                       command.value(SET_MESSAGE));
    return done(EObject::ANNOTATION, objectName(command), "created");
}

Lines runDeleteAnnotation(SShellTarget& target, const SCommand& command)
{
    target.protection.deleteAnnotation(target.appliance, groupName(command), objectName(command));
    return done(EObject::ANNOTATION, objectName(command), "deleted");
}

Lines runCreateTimeImage(SShellTarget& target, const SCommand& command)
{
    STimeImageRequest request;
    request.name = objectName(command);
    request.group = groupName(command);
    request.annotation = command.value(USE_ANNOTATION);
    request.hosts = command.values(GRANT_TO_HOST);
    request.retention.preserve = command.value(SET_PRESERVE_MODE) == "yes";
    request.retention.preventExpiration = parseSeconds(command.value(SET_PREVENT_EXPIRATION)).value_or(0);
    request.retention.proactiveExpiration = parseSeconds(command.value(SET_PROACTIVE_EXPIRATION)).value_or(0);
    target.protection.createTimeImage(target.appliance, request);
    return done(EObject::TIME_IMAGE, objectName(command), "created");
}

Lines runDeleteTimeImage(SShellTarget& target, const SCommand& command)
{
    target.protection.deleteTimeImage(target.appliance, groupName(command), objectName(command));
    return done(EObject::TIME_IMAGE, objectName(command), "deleted");
}

Lines runListTimeImages(SShellTarget& target, const SCommand& command)
{
    const CTransaction transaction(target.store.database(), CTransaction::EKind::READ);
    return listTimeImages(target.catalog.timeImages(target.inventory.group(target.appliance, groupName(command))));
}

Lines runShowTimeImage(SShellTarget& target, const SCommand& command)
{
    const CTransaction transaction(target.store.database(), CTransaction::EKind::READ);
    const SGroup group = target.inventory.group(target.appliance, groupName(command));
    const STimeImage image = target.catalog.timeImage(group, objectName(command));
    return showTimeImage({.group = group,
                          .image = image,
                          .hosts = target.catalog.grantedHosts(image),
                          .luns = target.catalog.timeImageLuns(image)});
}

// Carries the permission changes out in their order.
template <class Grant, class Revoke>
void changePermissions(SShellTarget& target, const SCommand& command, Grant grant, Revoke revoke)
{
    for (const SGivenLine& change : command.body) {
        const SHost host = target.inventory.host(target.appliance, change.value);
        if (change.pattern == ADD_PERMISSION.pattern) {
            grant(host);
        } else {
            revoke(host);
        }
    }
}

Lines runUpdateGroup(SShellTarget& target, const SCommand& command)
{
    CTransaction transaction(target.store.database(), CTransaction::EKind::WRITE);
    const SGroup group = target.inventory.group(target.appliance, groupName(command));
    changePermissions(
        target, command, [&](const SHost& host) { target.catalog.grant(group, host); },
        [&](const SHost& host) { target.catalog.revoke(group, host); });
    transaction.commit();
    return done(EObject::GROUP, groupName(command), "updated");
}

Lines runUpdateTimeImage(SShellTarget& target, const SCommand& command)
{
    CTransaction transaction(target.store.database(), CTransaction::EKind::WRITE);
    const SGroup group = target.inventory.group(target.appliance, groupName(command));
    const STimeImage image = target.catalog.timeImage(group, objectName(command));
    changePermissions(
        target, command, [&](const SHost& host) { target.catalog.grant(image, host); },
        [&](const SHost& host) { target.catalog.revoke(group, image, host); });
    transaction.commit();
    return done(EObject::TIME_IMAGE, objectName(command), "updated");
}

}  // namespace

const std::vector<SCommandKind>& commandKinds()
{
    static const std::vector<SCommandKind> kinds = {
        {"list hosts", {}, runListHosts},
        {"list cgroups", {}, runListGroups},
        {"show host \"H\"", {}, runShowHost},
        {"show cgroup \"G\"", {}, runShowGroup},
        {"create annotation \"A\" \"G\"", {SET_MESSAGE}, runCreateAnnotation},
        {"delete annotation \"A\" \"G\"", {}, runDeleteAnnotation},
        {"create timeimage \"T\" \"G\"",
         {USE_ANNOTATION, GRANT_TO_HOST, SET_PRESERVE_MODE, SET_PREVENT_EXPIRATION, SET_PROACTIVE_EXPIRATION},
         runCreateTimeImage},
        {"delete timeimage \"T\" \"G\"", {}, runDeleteTimeImage},
        {"list timeimages \"G\"", {}, runListTimeImages},
        {"show timeimage \"T\" \"G\"", {}, runShowTimeImage},
        {"update timeimage \"G\"", {ADD_PERMISSION, DELETE_PERMISSION}, runUpdateGroup},
        {"update timeimage \"T\" \"G\"", {ADD_PERMISSION, DELETE_PERMISSION}, runUpdateTimeImage},
    };
    return kinds;
}

Lines commandHelp()
{
    constexpr size_t WIDTH = 110;
    Lines help;
    for (const SCommandKind& kind : commandKinds()) {
        help.push_back("  " + std::string(kind.head));
        std::vector<std::string_view> parts;
        for (const SBodyLine& line : kind.body) {
            parts.push_back(line.pattern);
        }
        if (!parts.empty()) parts.emplace_back("commit");
        for (const std::string_view part : parts) {
            help.back() += " ...";
            if (help.back().size() + part.size() > WIDTH) help.emplace_back("     ");
            help.back() += " " + std::string(part);
        }
    }
    return help;
}

SShellTarget::SShellTarget(CStore& givenStore, CBaseStorageEngine& engine, SAppliance givenAppliance)
    : store(givenStore),
      appliance(std::move(givenAppliance)),
      inventory(givenStore),
      catalog(givenStore.database()),
      protection(givenStore, engine)
{
}

}  // namespace lumora
