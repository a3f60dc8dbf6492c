#include "appliance/ceph/image_contents.h"

#include <memory>
#include <optional>

#include "appliance/ceph/rbd_list.h"

namespace lumora {

namespace {

struct SSnapshotsEnd
{
    void operator()(rbd_snap_info_t* snapshots) const { ::rbd_snap_list_end(snapshots); }
};

// Nothing for a snapshot that somebody made by hand.
std::optional<SImageContent> contentOf(rbd_image_t image, uint64_t snapshot)
{
    rbd_snap_namespace_type_t type = RBD_SNAP_NAMESPACE_TYPE_USER;
    const int code = ::rbd_snap_get_namespace_type(image, snapshot, &type);
    if (code < 0 || type != RBD_SNAP_NAMESPACE_TYPE_GROUP) return std::nullopt;
    rbd_snap_group_namespace_t owner{};
    if (::rbd_snap_get_group_namespace(image, snapshot, &owner, sizeof(owner)) < 0) return std::nullopt;
    SImageContent content = {snapshot, owner.group_name, owner.group_snap_name};
    ::rbd_snap_group_namespace_cleanup(&owner, sizeof(owner));
    return content;
}

}  // namespace

std::vector<SImageContent> contentsOf(const COpenImage& image)
{
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
    std::vector<SImageContent> contents;
    for (size_t i = 0; i + 1 < snapshots.size(); ++i) {
        if (auto content = contentOf(image.handle(), snapshots[i].id)) contents.push_back(std::move(*content));
    }
    return contents;
}

}  // namespace lumora
