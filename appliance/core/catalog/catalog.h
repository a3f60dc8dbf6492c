#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/catalog/inventory.h"

namespace lumora {

struct SAnnotation
{
    int64_t id = 0;
    std::string name;
    std::string message;
    std::string created;     ///< UTC
    std::string folder;      ///< id of the folder that holds the content
    int64_t timeImages = 0;  ///< how many depend on it
};

/// What a time image is made with. The times are in seconds, 0 for none; they are kept and shown, nothing expires.
struct SRetention
{
    bool preserve = false;
    uint32_t preventExpiration = 0;
    uint32_t proactiveExpiration = 0;
};

struct STimeImage
{
    int64_t id = 0;
    std::string name;
    std::string annotation;
    std::string created;  ///< UTC
    std::string folder;
    SRetention retention;
};

/// A LUN of a time image and the LUN whose content it shows.
struct SImageLun
{
    SLun source;
    std::string serial;
};

/// Annotations, time images and permissions of the groups of a store: rows only, no data. Every change runs inside a
/// write transaction of the caller. Look-ups by name throw status missing. Lists are in order of creation, hosts and
/// LUNs in name order.
class CCatalog
{
  public:
    explicit CCatalog(CDatabase& database) : m_database(database) {}

    SAnnotation annotation(const SGroup& group, std::string_view name);
    std::vector<SAnnotation> annotations(const SGroup& group);
    std::vector<SLun> annotationLuns(const SAnnotation& annotation);
    /// Status exists; or in use when the group's LUNs are not `luns` any more.
    void insertAnnotation(const SGroup& group, const SAnnotation& annotation, const std::vector<SLun>& luns);
    /// Status in use while a time image depends on it.
    void removeAnnotation(const SGroup& group, const SAnnotation& annotation);
    void checkAnnotationIsNew(const SGroup& group, std::string_view name);

    STimeImage timeImage(const SGroup& group, std::string_view name);
    std::vector<STimeImage> timeImages(const SGroup& group);
    std::vector<SImageLun> timeImageLuns(const STimeImage& image);
    /// Status exists; or missing when the annotation is gone. Gives the image's LUNs their serials.
    void insertTimeImage(const SGroup& group, const STimeImage& image, const SAnnotation& annotation,
                         const std::vector<SLun>& luns, const std::vector<SHost>& hosts);
    void removeTimeImage(const STimeImage& image);
    void checkTimeImageIsNew(const SGroup& group, std::string_view name);

    std::vector<SHost> grantedHosts(const SGroup& group);
    std::vector<SHost> grantedHosts(const STimeImage& image);
    /// Granting twice is fine. Revoking what was not granted is status missing.
    void grant(const SGroup& group, const SHost& host);
    void grant(const STimeImage& image, const SHost& host);
    /// Withdraws the host from the group and from every time image of it.
    void revoke(const SGroup& group, const SHost& host);
    void revoke(const SGroup& group, const STimeImage& image, const SHost& host);

    /// Whether a folder of annotations or images belongs to a row.
    bool isAnnotationFolder(const std::string& folder);
    bool isTimeImageFolder(const std::string& folder);

  private:
    bool found(const char* sql, int64_t id, std::string_view name);
    void forgetDisks();

    CDatabase& m_database;
};

}  // namespace lumora
