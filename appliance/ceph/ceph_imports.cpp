#include "appliance/ceph/ceph_imports.h"

#include <rbd/librbd.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "appliance/ceph/ceph_error.h"
#include "appliance/ceph/ceph_id.h"
#include "appliance/ceph/ceph_images.h"
#include "appliance/ceph/open_image.h"
#include "appliance/ceph/rbd_list.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

struct SSnapshotsEnd
{
    void operator()(rbd_snap_info_t* snapshots) const { ::rbd_snap_list_end(snapshots); }
};

bool isOfContent(rbd_image_t image, uint64_t snapshot, const std::string& group, const std::string& content)
{
    rbd_snap_namespace_type_t type = RBD_SNAP_NAMESPACE_TYPE_USER;
    const int code = ::rbd_snap_get_namespace_type(image, snapshot, &type);
    if (code < 0 || type != RBD_SNAP_NAMESPACE_TYPE_GROUP) return false;
    rbd_snap_group_namespace_t owner{};
    if (::rbd_snap_get_group_namespace(image, snapshot, &owner, sizeof(owner)) < 0) return false;
    const bool isIt = group == owner.group_name && content == owner.group_snap_name;
    ::rbd_snap_group_namespace_cleanup(&owner, sizeof(owner));
    return isIt;
}

// A volume's own snapshot that is its part of a content. The name of the content leads to it in no other way.
std::optional<uint64_t> snapshotOf(const CCephPool& pool, const std::string& group, const std::string& content,
                                   const std::string& volume)
{
    const COpenImage image(pool, volume);
    auto snapshots = rbdList<rbd_snap_info_t>(
        [&image](rbd_snap_info_t* infos, size_t* count) {
            int room = static_cast<int>(*count);
            const int code = ::rbd_snap_list(image.handle(), infos, &room);
            *count = static_cast<size_t>(code < 0 ? room : code);
            return code;
        },
        "list the content of", image.inWords());
    snapshots.push_back({});  // where the library stops to release their names
    const std::unique_ptr<rbd_snap_info_t, SSnapshotsEnd> names(snapshots.data());
    const auto found = std::find_if(snapshots.begin(), snapshots.end() - 1, [&](const rbd_snap_info_t& snapshot) {
        return isOfContent(image.handle(), snapshot.id, group, content);
    });
    return found == snapshots.end() - 1 ? std::nullopt : std::optional<uint64_t>(found->id);
}

}  // namespace

std::string CCephImports::make(const std::string& group, const std::string& content, const std::string& tag,
                               const std::string& volume) const
{
    std::string name = importName(content, tag, volume);
    const std::string object = imageInWords(name, m_pool.name());
    const std::optional<uint64_t> snapshot = snapshotOf(m_pool, group, content, volume);
    if (!snapshot) {
        throw EApplianceError(EStatus::MISSING, contentInWords(content, group, m_pool.name()) +
                                                    " does not exist for volume " + inQuotes(volume));
    }
    const nlohmann::json source = {
        {"type", "native"}, {"pool_name", m_pool.name()}, {"image_name", volume}, {"snap_id", *snapshot}};
    rbd_image_options_t options = nullptr;
    ::rbd_image_options_create(&options);
    const int code = ::rbd_migration_prepare_import(source.dump().c_str(), m_pool.handle(), name.c_str(), options);
    ::rbd_image_options_destroy(options);
    checkCeph(code, "make", object);
    return name;
}

void CCephImports::drop(const std::string& image) const
{
    const std::string object = imageInWords(image, m_pool.name());
    refuseAttached(CCephImages(m_pool), image, "drop", object);
    checkCeph(::rbd_migration_abort(m_pool.handle(), image.c_str()), "drop", object);
}

std::vector<std::string> CCephImports::of(const std::string& content, const std::string& volume) const
{
    std::vector<std::string> names = CCephImages(m_pool).names();
    std::erase_if(names, [&](const std::string& name) { return !isImportOf(name, content, volume); });
    return names;
}

}  // namespace lumora
