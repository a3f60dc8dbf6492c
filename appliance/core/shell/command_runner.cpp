#include "appliance/core/shell/command_runner.h"

#include <utility>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

Lines done(EObject object, const std::string& name, const char* what)
{
    return {std::string(objectWord(object)) + " " + inQuotes(name) + " " + what};
}

}  // namespace

CCommandRunner::CCommandRunner(CStore& store, CBaseStorageEngine& engine, SAppliance appliance)
    : m_store(store),
      m_appliance(std::move(appliance)),
      m_inventory(store),
      m_catalog(store.database()),
      m_protection(store, engine)
{
}

Lines CCommandRunner::run(const Command& command)
{
    return std::visit([this](const auto& which) { return run(which); }, command);
}

Lines CCommandRunner::run(const SListHosts& /*command*/)
{
    return listHosts(m_inventory.hosts(m_appliance));
}

Lines CCommandRunner::run(const SListGroups& /*command*/)
{
    return listGroups(m_inventory.groups(m_appliance));
}

Lines CCommandRunner::run(const SShowHost& command)
{
    const CTransaction transaction(m_store.database(), CTransaction::EKind::READ);
    const SHost host = m_inventory.host(m_appliance, command.host);
    return showHost(host, m_inventory.lunsPresentedTo(host));
}

Lines CCommandRunner::run(const SShowGroup& command)
{
    const CTransaction transaction(m_store.database(), CTransaction::EKind::READ);
    const SGroup group = m_inventory.group(m_appliance, command.group);
    return showGroup({group, m_inventory.luns(group), m_catalog.grantedHosts(group), m_catalog.annotations(group),
                      m_catalog.timeImages(group)});
}

Lines CCommandRunner::run(const SCreateAnnotation& command)
{
    m_protection.createAnnotation(m_appliance, command.group, command.name, command.message);
    return done(EObject::ANNOTATION, command.name, "created");
}

Lines CCommandRunner::run(const SDeleteAnnotation& command)
{
    m_protection.deleteAnnotation(m_appliance, command.group, command.name);
    return done(EObject::ANNOTATION, command.name, "deleted");
}

Lines CCommandRunner::run(const SCreateTimeImage& command)
{
    m_protection.createTimeImage(m_appliance, command.request);
    return done(EObject::TIME_IMAGE, command.request.name, "created");
}

Lines CCommandRunner::run(const SDeleteTimeImage& command)
{
    m_protection.deleteTimeImage(m_appliance, command.group, command.name);
    return done(EObject::TIME_IMAGE, command.name, "deleted");
}

Lines CCommandRunner::run(const SUpdateGroup& command)
{
    CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
    const SGroup group = m_inventory.group(m_appliance, command.group);
    for (const SPermissionChange& change : command.changes) {
        const SHost host = m_inventory.host(m_appliance, change.host);
        if (change.add) {
            m_catalog.grant(group, host);
        } else {
            m_catalog.revoke(group, host);
        }
    }
    transaction.commit();
    return done(EObject::GROUP, command.group, "updated");
}

Lines CCommandRunner::run(const SUpdateTimeImage& command)
{
    CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
    const SGroup group = m_inventory.group(m_appliance, command.group);
    const STimeImage image = m_catalog.timeImage(group, command.name);
    for (const SPermissionChange& change : command.changes) {
        const SHost host = m_inventory.host(m_appliance, change.host);
        if (change.add) {
            m_catalog.grant(image, host);
        } else {
            m_catalog.revoke(group, image, host);
        }
    }
    transaction.commit();
    return done(EObject::TIME_IMAGE, command.name, "updated");
}

Lines CCommandRunner::run(const SListTimeImages& command)
{
    const CTransaction transaction(m_store.database(), CTransaction::EKind::READ);
    return listTimeImages(m_catalog.timeImages(m_inventory.group(m_appliance, command.group)));
}

Lines CCommandRunner::run(const SShowTimeImage& command)
{
    const CTransaction transaction(m_store.database(), CTransaction::EKind::READ);
    const SGroup group = m_inventory.group(m_appliance, command.group);
    const STimeImage image = m_catalog.timeImage(group, command.name);
    return showTimeImage({group, image, m_catalog.grantedHosts(image), m_catalog.timeImageLuns(image)});
}

}  // namespace lumora
