#include "appliance/ceph/ceph_groups.h"

#include <rbd/librbd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "appliance/ceph/ceph_error.h"
#include "appliance/ceph/ceph_id.h"
#include "appliance/ceph/ceph_images.h"
#include "appliance/ceph/image_contents.h"
#include "appliance/ceph/rbd_list.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

constexpr int MOST_TRIES = 5;
constexpr std::chrono::milliseconds TRY_AGAIN{100};

[[noreturn]] void refuseNeeded(const std::string& doing, const std::string& object, const std::string& reason)
{
    throw EApplianceError(EStatus::IN_USE, "cannot " + doing + " " + object + ": " + reason);
}

}  // namespace

void CCephGroups::make(const std::string& group) const
{
    checkCephId(group);
    checkCeph(::rbd_group_create(m_pool.handle(), group.c_str()), "make", groupInWords(group, m_pool.name()));
}

void CCephGroups::remove(const std::string& group) const
{
    const std::string object = groupInWords(group, m_pool.name());
    if (!contents(group).empty()) refuseNeeded("remove", object, "it has content");
    if (!members(group).empty()) refuseNeeded("remove", object, "it has members");
    checkCeph(::rbd_group_remove(m_pool.handle(), group.c_str()), "remove", object);
}

void CCephGroups::add(const std::string& group, const std::string& image) const
{
    checkCeph(::rbd_group_image_add(m_pool.handle(), group.c_str(), m_pool.handle(), image.c_str()),
              "put " + imageInWords(image, m_pool.name()) + " into", groupInWords(group, m_pool.name()));
}

void CCephGroups::take(const std::string& group, const std::string& image) const
{
    const std::string doing = "take " + imageInWords(image, m_pool.name()) + " out of";
    const std::string object = groupInWords(group, m_pool.name());
    const std::vector<SImageContent> contents = contentsOf(COpenImage(m_pool, image));
    if (!contents.empty()) refuseNeeded(doing, object, "content " + inQuotes(contents.front().content) + " holds it");
    checkCeph(::rbd_group_image_remove(m_pool.handle(), group.c_str(), m_pool.handle(), image.c_str()), doing, object);
}

std::vector<std::string> CCephGroups::names() const
{
    std::string texts(size_t{1} << 12U, '\0');
    size_t size = texts.size();
    int code = ::rbd_group_list(m_pool.handle(), texts.data(), &size);
    while (code == -ERANGE) {
        size = std::max(size, 2 * texts.size());
        texts.resize(size);
        code = ::rbd_group_list(m_pool.handle(), texts.data(), &size);
    }
    checkCeph(code, "list the groups of", "pool " + inQuotes(m_pool.name()));
    std::vector<std::string> names;
    for (size_t start = 0; start < size;) {
        const size_t end = texts.find('\0', start);
        if (end == std::string::npos || end == start) break;
        names.push_back(texts.substr(start, end - start));
        start = end + 1;
    }
    return names;
}

std::vector<std::string> CCephGroups::members(const std::string& group) const
{
    auto found = rbdList<rbd_group_image_info_t>(
        [&](rbd_group_image_info_t* images, size_t* count) {
            return ::rbd_group_image_list(m_pool.handle(), group.c_str(), images, sizeof(*images), count);
        },
        "list the members of", groupInWords(group, m_pool.name()));
    std::vector<std::string> names;
    names.reserve(found.size());
    for (const rbd_group_image_info_t& image : found) {
        names.emplace_back(image.name);
    }
    ::rbd_group_image_list_cleanup(found.data(), sizeof(rbd_group_image_info_t), found.size());
    return names;
}

void CCephGroups::fixContent(const std::string& group, const std::string& content) const
{
    checkCephId(content);
    // A monitor that has just become the leader refuses the first one as if the user might not; the next one it allows.
    int code = -EPERM;
    for (int tries = 0; code == -EPERM && tries < MOST_TRIES; ++tries) {
        if (tries > 0) {
            std::this_thread::sleep_for(TRY_AGAIN);
            ::rbd_group_snap_remove(m_pool.handle(), group.c_str(), content.c_str());  // what there is of it
        }
        code = ::rbd_group_snap_create(m_pool.handle(), group.c_str(), content.c_str());
    }
    checkCeph(code, "fix", contentInWords(content, group, m_pool.name()));
}

void CCephGroups::dropContent(const std::string& group, const std::string& content) const
{
    const std::string object = contentInWords(content, group, m_pool.name());
    const std::vector<std::string> volumes = members(group);
    for (const std::string& name : CCephImages(m_pool).names()) {
        const bool shows = std::any_of(volumes.begin(), volumes.end(),
                                       [&](const std::string& volume) { return isImportOf(name, content, volume); });
        if (shows) refuseNeeded("drop", object, "image " + inQuotes(name) + " shows it");
    }
    checkCeph(::rbd_group_snap_remove(m_pool.handle(), group.c_str(), content.c_str()), "drop", object);
}

std::vector<SGroupContent> CCephGroups::contents(const std::string& group) const
{
    auto found = rbdList<rbd_group_snap_info_t>(
        [&](rbd_group_snap_info_t* snapshots, size_t* count) {
            return ::rbd_group_snap_list(m_pool.handle(), group.c_str(), snapshots, sizeof(*snapshots), count);
        },
        "list the content of", groupInWords(group, m_pool.name()));
    std::vector<SGroupContent> contents;
    contents.reserve(found.size());
    for (const rbd_group_snap_info_t& snapshot : found) {
        contents.push_back({snapshot.name, snapshot.state == RBD_GROUP_SNAP_STATE_COMPLETE});
    }
    ::rbd_group_snap_list_cleanup(found.data(), sizeof(rbd_group_snap_info_t), found.size());
    return contents;
}

}  // namespace lumora
