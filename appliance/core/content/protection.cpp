#include "appliance/core/content/protection.h"

#include "appliance/core/content/lun_data.h"
#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

std::vector<SVolume> volumesOf(const std::vector<SLun>& luns)
{
    std::vector<SVolume> volumes;
    volumes.reserve(luns.size());
    for (const SLun& lun : luns) {
        volumes.push_back(volumeOf(lun));
    }
    return volumes;
}

}  // namespace

CProtection::CProtection(CStore& store, CBaseStorageEngine& engine)
    : m_store(store), m_engine(engine), m_inventory(store), m_catalog(store.database())
{
}

void CProtection::createAnnotation(const SAppliance& appliance, const std::string& groupName, const std::string& name,
                                   const std::string& message)
{
    checkName(EObject::ANNOTATION, name);
    const SGroup group = m_inventory.group(appliance, groupName);
    m_catalog.checkAnnotationIsNew(group, name);
    collect(appliance, EArea::ANNOTATIONS);
    const std::vector<SLun> luns = m_inventory.luns(group);
    if (luns.empty()) {
        throw EApplianceError(EStatus::MISSING, "a LUN to protect does not exist " + inGroup(group), EObject::LUN);
    }
    CWorkFolder folder(m_store.layout().appliance(appliance.name), EArea::ANNOTATIONS,
                       [this](const fs::path& left) { m_engine.dropContent(left); });
    m_engine.fixContent(volumesOf(luns), m_store.layout().gate(appliance.name, group.id), folder.path());

    CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
    SAnnotation made;
    made.name = name;
    made.message = message;
    made.created = timeStamp();
    made.folder = folder.id();
    m_catalog.insertAnnotation(m_inventory.group(appliance, groupName), made, luns);
    folder.keep();
    transaction.commit();
}

void CProtection::deleteAnnotation(const SAppliance& appliance, const std::string& groupName, const std::string& name)
{
    SAnnotation annotation;
    {
        CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
        const SGroup group = m_inventory.group(appliance, groupName);
        annotation = m_catalog.annotation(group, name);
        m_catalog.removeAnnotation(group, annotation);
        transaction.commit();
    }
    dropUnlisted(appliance, EArea::ANNOTATIONS, annotation.folder);
}

void CProtection::createTimeImage(const SAppliance& appliance, const STimeImageRequest& request)
{
    checkName(EObject::TIME_IMAGE, request.name);
    const SGroup group = m_inventory.group(appliance, request.group);
    m_catalog.checkTimeImageIsNew(group, request.name);
    const SAnnotation annotation = m_catalog.annotation(group, request.annotation);
    for (const std::string& host : request.hosts) {
        m_inventory.host(appliance, host);
    }
    collect(appliance, EArea::IMAGES);
    const std::vector<SLun> luns = m_catalog.annotationLuns(annotation);
    const fs::path home = m_store.layout().appliance(appliance.name);
    CWorkFolder folder(home, EArea::IMAGES, [this](const fs::path& left) { m_engine.dropImage(left); });
    try {
        m_engine.makeImage(volumesOf(luns), areaFolder(home, EArea::ANNOTATIONS) / annotation.folder, folder.path());
    } catch (const EApplianceError&) {
        // The content may be missing because the annotation was deleted meanwhile: then say so.
        m_catalog.annotation(group, request.annotation);
        throw;
    }

    CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
    std::vector<SHost> hosts;
    for (const std::string& host : request.hosts) {
        hosts.push_back(m_inventory.host(appliance, host));
    }
    STimeImage made;
    made.name = request.name;
    made.created = timeStamp();
    made.folder = folder.id();
    made.retention = request.retention;
    m_catalog.insertTimeImage(group, made, annotation, luns, hosts);
    folder.keep();
    transaction.commit();
}

void CProtection::deleteTimeImage(const SAppliance& appliance, const std::string& groupName, const std::string& name)
{
    STimeImage image;
    {
        CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
        image = m_catalog.timeImage(m_inventory.group(appliance, groupName), name);
        m_catalog.removeTimeImage(image);
        transaction.commit();
    }
    dropUnlisted(appliance, EArea::IMAGES, image.folder);
}

void CProtection::collect(const SAppliance& appliance, EArea area)
{
    const SCollector collector{
        [this, area](const std::string& id) {
            return area == EArea::ANNOTATIONS ? m_catalog.isAnnotationFolder(id) : m_catalog.isTimeImageFolder(id);
        },
        [this] { m_store.database().settle(); }, [this, area](const fs::path& folder) { drop(area, folder); }};
    collectLeftovers(m_store.layout().appliance(appliance.name), area, collector);
}

void CProtection::dropUnlisted(const SAppliance& appliance, EArea area, const std::string& folder)
{
    tidyUp([&] {
        drop(area, areaFolder(m_store.layout().appliance(appliance.name), area) / folder);
        collect(appliance, area);
    });
}

void CProtection::drop(EArea area, const fs::path& folder)
{
    if (area == EArea::ANNOTATIONS) {
        m_engine.dropContent(folder);
    } else {
        m_engine.dropImage(folder);
    }
}

}  // namespace lumora
