#include "appliance/ceph/ceph_images.h"

#include <rbd/librbd.h>

#include <memory>
#include <optional>

#include "appliance/ceph/ceph_error.h"
#include "appliance/ceph/ceph_id.h"
#include "appliance/ceph/lock_holder.h"
#include "appliance/ceph/open_image.h"
#include "appliance/ceph/rbd_list.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

constexpr uint64_t FEATURES =
    RBD_FEATURE_LAYERING | RBD_FEATURE_EXCLUSIVE_LOCK | RBD_FEATURE_OBJECT_MAP | RBD_FEATURE_FAST_DIFF;

struct SOptionsEnd
{
    void operator()(rbd_image_options_t options) const { ::rbd_image_options_destroy(options); }
};

}  // namespace

void CCephImages::make(const std::string& image, uint64_t size) const
{
    checkCephId(image);
    rbd_image_options_t options = nullptr;
    ::rbd_image_options_create(&options);
    const std::unique_ptr<void, SOptionsEnd> owner(options);
    ::rbd_image_options_set_uint64(options, RBD_IMAGE_OPTION_FEATURES, FEATURES);
    checkCeph(::rbd_create4(m_pool.handle(), image.c_str(), size, options), "make", imageInWords(image, m_pool.name()));
}

void CCephImages::remove(const std::string& image) const
{
    const std::string object = imageInWords(image, m_pool.name());
    try {
        refuseAttached(*this, image, "remove", object);
    } catch (const EApplianceError& error) {
        // One that is listed and cannot be opened is the beginning of one, whose maker was killed: it goes all the
        // same.
        if (error.status() != EStatus::MISSING) throw;
    }
    checkCeph(::rbd_remove(m_pool.handle(), image.c_str()), "remove", object);
}

void CCephImages::rename(const std::string& image, const std::string& name) const
{
    checkCephId(name);
    checkCeph(::rbd_rename(m_pool.handle(), image.c_str(), name.c_str()), "rename", imageInWords(image, m_pool.name()));
}

std::string CCephImages::groupOf(const std::string& image) const
{
    const COpenImage open(m_pool, image);
    rbd_group_info_t info{};
    checkCeph(::rbd_get_group(open.handle(), &info, sizeof(info)), "look at", open.inWords());
    std::string name = info.name == nullptr ? "" : info.name;
    ::rbd_group_info_cleanup(&info, sizeof(info));
    return name;
}

uint64_t CCephImages::size(const std::string& image) const
{
    uint64_t size = 0;
    const COpenImage open(m_pool, image);
    checkCeph(::rbd_get_size(open.handle(), &size), "look at", open.inWords());
    return size;
}

std::vector<std::string> CCephImages::names() const
{
    auto found = rbdList<rbd_image_spec_t>(
        [this](rbd_image_spec_t* images, size_t* count) { return ::rbd_list2(m_pool.handle(), images, count); },
        "list the images of", "pool " + inQuotes(m_pool.name()));
    std::vector<std::string> names;
    names.reserve(found.size());
    for (const rbd_image_spec_t& image : found) {
        names.emplace_back(image.name);
    }
    ::rbd_image_spec_list_cleanup(found.data(), found.size());
    return names;
}

std::vector<std::string> CCephImages::attachedBy(const std::string& image) const
{
    const COpenImage open(m_pool, image);
    auto watchers = rbdList<rbd_image_watcher_t>(
        [&open](rbd_image_watcher_t* clients, size_t* count) {
            return ::rbd_watchers_list(open.handle(), clients, count);
        },
        "list the clients of", open.inWords());
    std::vector<std::string> addresses;
    addresses.reserve(watchers.size());
    for (const rbd_image_watcher_t& watcher : watchers) {
        addresses.emplace_back(watcher.addr);
    }
    ::rbd_watchers_list_cleanup(watchers.data(), watchers.size());
    return addresses;
}

std::string CCephImages::lockHolder(const std::string& image) const
{
    const std::optional<SLockHolder> holder = holderOfImage(COpenImage(m_pool, image));
    return holder ? holder->address : std::string();
}

void refuseAttached(const CCephImages& images, const std::string& image, std::string_view doing,
                    const std::string& object)
{
    const std::vector<std::string> clients = images.attachedBy(image);
    if (clients.empty()) return;
    throw EApplianceError(EStatus::IN_USE,
                          "cannot " + std::string(doing) + " " + object + ": it is attached by " + clients.front());
}

}  // namespace lumora
