#include "appliance/ceph/ceph_imports.h"

#include <rbd/librbd.h>

#include <nlohmann/json.hpp>
#include <optional>

#include "appliance/ceph/ceph_error.h"
#include "appliance/ceph/ceph_id.h"
#include "appliance/ceph/ceph_images.h"
#include "appliance/ceph/image_contents.h"
#include "appliance/ceph/open_image.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

// A volume's own snapshot that is its part of a content. The name of the content leads to it in no other way.
std::optional<uint64_t> snapshotOf(const CCephPool& pool, const std::string& group, const std::string& content,
                                   const std::string& volume)
{
    for (const SImageContent& each : contentsOf(COpenImage(pool, volume))) {
        if (each.group == group && each.content == content) return each.snapshot;
    }
    return std::nullopt;
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
    const nlohmann::json source = {{"type", "native"},
                                   {"pool_name", m_pool.name()},
                                   {"pool_namespace", m_pool.space()},
                                   {"image_name", volume},
                                   {"snap_id", *snapshot}};
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
    bool isWhole = true;
    try {
        refuseAttached(CCephImages(m_pool), image, "drop", object);
    } catch (const EApplianceError& error) {
        // Listed, and not to be opened: its content is gone, or its maker was killed at its beginning.
        if (error.status() != EStatus::MISSING) throw;
        isWhole = false;
    }
    int code = ::rbd_migration_abort(m_pool.handle(), image.c_str());
    if (code < 0 && !isWhole) code = ::rbd_remove(m_pool.handle(), image.c_str());
    checkCeph(code, "drop", object);
}

std::vector<std::string> CCephImports::of(const std::string& tag) const
{
    std::vector<std::string> names = CCephImages(m_pool).names();
    std::erase_if(names, [&](const std::string& name) { return !isImportAs(name, tag); });
    return names;
}

std::vector<std::string> CCephImports::of(const std::string& content, const std::string& volume) const
{
    std::vector<std::string> names = CCephImages(m_pool).names();
    std::erase_if(names, [&](const std::string& name) { return !isImportOf(name, content, volume); });
    return names;
}

}  // namespace lumora
