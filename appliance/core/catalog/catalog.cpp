#include "appliance/core/catalog/catalog.h"

#include <algorithm>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

constexpr const char* ANNOTATION_COLUMNS =
    "SELECT id, name, message, created, folder, (SELECT count(*) FROM time_image WHERE annotation_id = annotation.id) "
    "FROM annotation WHERE cgroup_id = ? ";

constexpr const char* IMAGE_COLUMNS =
    "SELECT time_image.id, time_image.name, annotation.name, time_image.created, time_image.folder, preserve, "
    "prevent_expiration, proactive_expiration FROM time_image JOIN annotation ON annotation.id = annotation_id "
    "WHERE time_image.cgroup_id = ? ";

SAnnotation readAnnotation(const CQuery& query)
{
    return {query.integer(0), query.text(1), query.text(2), query.text(3), query.text(4), query.integer(5)};
}

// Without the group, which the caller knows.
SLun readLun(const CQuery& query)
{
    return {query.integer(0), query.text(1), query.text(2), static_cast<uint64_t>(query.integer(3)), ""};
}

SHost readHost(const CQuery& query)
{
    return {query.integer(0), query.text(1)};
}

STimeImage readImage(const CQuery& query)
{
    return {query.integer(0),
            query.text(1),
            query.text(2),
            query.text(3),
            query.text(4),
            {query.integer(5) != 0, static_cast<uint32_t>(query.integer(6)), static_cast<uint32_t>(query.integer(7))}};
}

}  // namespace

bool CCatalog::found(const char* sql, int64_t id, std::string_view name)
{
    return CQuery(m_database, sql, id, name).next();
}

SAnnotation CCatalog::annotation(const SGroup& group, std::string_view name)
{
    CQuery query(m_database, (std::string(ANNOTATION_COLUMNS) + "AND name = ?").c_str(), group.id, name);
    if (!query.next()) throwMissing(EObject::ANNOTATION, name, inGroup(group));
    return readAnnotation(query);
}

std::vector<SAnnotation> CCatalog::annotations(const SGroup& group)
{
    return readRows(CQuery(m_database, (std::string(ANNOTATION_COLUMNS) + "ORDER BY id").c_str(), group.id),
                    readAnnotation);
}

std::vector<SLun> CCatalog::annotationLuns(const SAnnotation& annotation)
{
    return readRows(
        CQuery(m_database,
               "SELECT lun.id, lun.name, lun.serial, lun.size FROM annotation_lun JOIN lun ON lun.id = lun_id "
               "WHERE annotation_id = ? ORDER BY lun.name",
               annotation.id),
        readLun);
}

void CCatalog::checkAnnotationIsNew(const SGroup& group, std::string_view name)
{
    if (found("SELECT 1 FROM annotation WHERE cgroup_id = ? AND name = ?", group.id, name)) {
        throwExists(EObject::ANNOTATION, name, inGroup(group));
    }
}

void CCatalog::insertAnnotation(const SGroup& group, const SAnnotation& annotation, const std::vector<SLun>& luns)
{
    checkAnnotationIsNew(group, annotation.name);
    const std::vector<int64_t> present =
        readRows(CQuery(m_database, "SELECT id FROM lun WHERE cgroup_id = ? ORDER BY name", group.id),
                 [](const CQuery& row) { return row.integer(0); });
    if (!std::equal(present.begin(), present.end(), luns.begin(), luns.end(),
                    [](int64_t id, const SLun& lun) { return id == lun.id; })) {
        throw EApplianceError(EStatus::IN_USE,
                              "the LUNs of group " + inQuotes(group.name) + " changed while annotation " +
                                  inQuotes(annotation.name) + " was made; try again",
                              EObject::GROUP);
    }
    CQuery(m_database, "INSERT INTO annotation (cgroup_id, name, message, created, folder) VALUES (?, ?, ?, ?, ?)",
           group.id, annotation.name, annotation.message, annotation.created, annotation.folder)
        .run();
    const int64_t id = m_database.lastId();
    for (const SLun& lun : luns) {
        CQuery(m_database, "INSERT INTO annotation_lun (annotation_id, lun_id) VALUES (?, ?)", id, lun.id).run();
    }
}

void CCatalog::removeAnnotation(const SGroup& group, const SAnnotation& annotation)
{
    CQuery user(m_database, "SELECT name FROM time_image WHERE annotation_id = ? ORDER BY id", annotation.id);
    if (user.next()) {
        throw EApplianceError(EStatus::IN_USE,
                              "annotation " + inQuotes(annotation.name) + " is in use by time image " +
                                  inQuotes(user.text(0)) + " " + inGroup(group),
                              EObject::ANNOTATION);
    }
    CQuery(m_database, "DELETE FROM annotation WHERE id = ?", annotation.id).run();
}

STimeImage CCatalog::timeImage(const SGroup& group, std::string_view name)
{
    CQuery query(m_database, (std::string(IMAGE_COLUMNS) + "AND time_image.name = ?").c_str(), group.id, name);
    if (!query.next()) throwMissing(EObject::TIME_IMAGE, name, inGroup(group));
    return readImage(query);
}

std::vector<STimeImage> CCatalog::timeImages(const SGroup& group)
{
    return readRows(CQuery(m_database, (std::string(IMAGE_COLUMNS) + "ORDER BY time_image.id").c_str(), group.id),
                    readImage);
}

std::vector<SImageLun> CCatalog::timeImageLuns(const STimeImage& image)
{
    return readRows(CQuery(m_database,
                           "SELECT lun.id, lun.name, lun.serial, lun.size, time_image_lun.serial FROM time_image_lun "
                           "JOIN lun ON lun.id = lun_id WHERE time_image_id = ? ORDER BY lun.name",
                           image.id),
                    [](const CQuery& row) {
                        return SImageLun{readLun(row), row.text(4)};
                    });
}

void CCatalog::checkTimeImageIsNew(const SGroup& group, std::string_view name)
{
    if (found("SELECT 1 FROM time_image WHERE cgroup_id = ? AND name = ?", group.id, name)) {
        throwExists(EObject::TIME_IMAGE, name, inGroup(group));
    }
}

void CCatalog::insertTimeImage(const SGroup& group, const STimeImage& image, const SAnnotation& annotation,
                               const std::vector<SLun>& luns, const std::vector<SHost>& hosts)
{
    checkTimeImageIsNew(group, image.name);
    if (!found("SELECT 1 FROM annotation WHERE id = ? AND folder = ?", annotation.id, annotation.folder)) {
        throwMissing(EObject::ANNOTATION, annotation.name, inGroup(group));
    }
    CQuery(m_database,
           "INSERT INTO time_image (cgroup_id, annotation_id, name, created, folder, preserve, prevent_expiration, "
           "proactive_expiration) VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
           group.id, annotation.id, image.name, image.created, image.folder, image.retention.preserve,
           image.retention.preventExpiration, image.retention.proactiveExpiration)
        .run();
    STimeImage made = image;
    made.id = m_database.lastId();
    for (const SLun& lun : luns) {
        CQuery(m_database, "INSERT INTO time_image_lun (time_image_id, lun_id, serial) VALUES (?, ?, ?)", made.id,
               lun.id, newSerial())
            .run();
    }
    for (const SHost& host : hosts) {
        grant(made, host);
    }
}

void CCatalog::removeTimeImage(const STimeImage& image)
{
    CQuery(m_database, "DELETE FROM time_image WHERE id = ?", image.id).run();
}

std::vector<SHost> CCatalog::grantedHosts(const SGroup& group)
{
    return readRows(
        CQuery(m_database,
               "SELECT host.id, host.name FROM group_grant JOIN host ON host.id = host_id WHERE cgroup_id = ? "
               "ORDER BY host.name",
               group.id),
        readHost);
}

std::vector<SHost> CCatalog::grantedHosts(const STimeImage& image)
{
    return readRows(CQuery(m_database,
                           "SELECT host.id, host.name FROM time_image_grant JOIN host ON host.id = host_id "
                           "WHERE time_image_id = ? ORDER BY host.name",
                           image.id),
                    readHost);
}

void CCatalog::grant(const SGroup& group, const SHost& host)
{
    CQuery(m_database, "INSERT OR IGNORE INTO group_grant (cgroup_id, host_id) VALUES (?, ?)", group.id, host.id).run();
}

void CCatalog::grant(const STimeImage& image, const SHost& host)
{
    CQuery(m_database, "INSERT OR IGNORE INTO time_image_grant (time_image_id, host_id) VALUES (?, ?)", image.id,
           host.id)
        .run();
}

void CCatalog::revoke(const SGroup& group, const SHost& host)
{
    CQuery(m_database, "DELETE FROM group_grant WHERE cgroup_id = ? AND host_id = ?", group.id, host.id).run();
    int removed = m_database.changes();
    CQuery(m_database,
           "DELETE FROM time_image_grant WHERE host_id = ? AND time_image_id IN "
           "(SELECT id FROM time_image WHERE cgroup_id = ?)",
           host.id, group.id)
        .run();
    removed += m_database.changes();
    if (removed == 0) throwMissing(EObject::PERMISSION, host.name, "on group " + inQuotes(group.name));
    forgetDisks();
}

void CCatalog::revoke(const SGroup& group, const STimeImage& image, const SHost& host)
{
    CQuery(m_database, "DELETE FROM time_image_grant WHERE time_image_id = ? AND host_id = ?", image.id, host.id).run();
    if (m_database.changes() == 0) {
        throwMissing(EObject::PERMISSION, host.name, "on time image " + inQuotes(image.name) + " " + inGroup(group));
    }
    forgetDisks();
}

void CCatalog::forgetDisks()
{
    // A disk that was taken away must be discovered again after the next grant.
    m_database.execute(
        "DELETE FROM discovered WHERE NOT EXISTS (SELECT 1 FROM granted WHERE "
        "granted.time_image_id = discovered.time_image_id AND granted.host_id = discovered.host_id)");
}

bool CCatalog::isAnnotationFolder(const std::string& folder)
{
    return CQuery(m_database, "SELECT 1 FROM annotation WHERE folder = ?", folder).next();
}

bool CCatalog::isTimeImageFolder(const std::string& folder)
{
    return CQuery(m_database, "SELECT 1 FROM time_image WHERE folder = ?", folder).next();
}

}  // namespace lumora
