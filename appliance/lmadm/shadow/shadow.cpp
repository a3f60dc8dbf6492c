#include "appliance/lmadm/shadow/shadow.h"

#include <nlohmann/json.hpp>

#include "appliance/core/catalog/catalog.h"
#include "appliance/core/content/lun_data.h"
#include "appliance/core/content/protection.h"
#include "appliance/core/conventions/names.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/session.h"

namespace lumora {

namespace {

constexpr uint64_t SIZE = 4096;  // of each LUN

[[noreturn]] void fail(const std::string& why)
{
    throw EApplianceError(EStatus::UNUSABLE, why);
}

std::string reasonOf(const Json& object, const char* otherwise)
{
    return object.at("reason").is_string() ? object["reason"].get<std::string>() : otherwise;
}

// What the inspector was told of it; throws where that is not known.
const Json& told(const Json& object, const char* key)
{
    if (object.at(key).is_null()) fail(std::string("its ") + key + " are not told");
    return object[key];
}

// The appliance calls a LUN by its own name in front of which it puts a folder.
std::string lunName(const Json& lun)
{
    const std::string device = lun.at("device");
    return device.substr(device.rfind('/') + 1);
}

/// Fills in one appliance.
class CFilling
{
  public:
    CFilling(CStore& store, const Json& told, Json& result)
        : m_store(store), m_told(told), m_result(result), m_inventory(store), m_catalog(store.database())
    {
    }

    void run()
    {
        const std::string name = m_told.at("name");
        try {
            if (!m_told.at("reachable").get<bool>() || !m_told.at("hosts_read").get<bool>() ||
                !m_told.at("groups_read").get<bool>()) {
                fail(reasonOf(m_told, "it did not tell its hosts and groups"));
            }
            m_inventory.createAppliance(name, "files");
            m_appliance = m_inventory.appliance(name);
            m_engine = m_store.makeEngine(m_appliance.name, m_appliance.engine);
            for (const Json& host : m_told.at("hosts")) {
                m_inventory.createHost(m_appliance, host.at("name"));
            }
        } catch (const EApplianceError& error) {
            return addUnknown(nullptr, error.what());
        }
        for (const Json& group : m_told.at("groups")) {
            try {
                addGroup(group);
            } catch (const EApplianceError& error) {
                addUnknown(group.at("name"), error.what());
            }
        }
    }

  private:
    void addUnknown(const Json& group, const std::string& why)
    {
        m_result["unknown"].push_back({{"appliance", m_told.at("name")}, {"group", group}, {"reason", why}});
    }

    std::string hostHere() const
    {
        const Json& host = m_told.at("host_here");
        return host.is_object() ? host.at("name").get<std::string>() : std::string();
    }

    void addGroup(const Json& group)
    {
        if (!group.at("read").get<bool>() || !group.at("images_read").get<bool>()) {
            fail(reasonOf(group, "it could not be read"));
        }
        m_inventory.createGroup(m_appliance, group.at("name"));
        for (const Json& lun : group.at("luns")) {
            addLun(group.at("name"), lun);
        }
        const SGroup made = m_inventory.group(m_appliance, group.at("name").get<std::string>());
        for (const Json& host : told(group, "permissions")) {
            m_catalog.grant(made, m_inventory.host(m_appliance, host.get<std::string>()));
        }
        for (const Json& annotation : told(group, "annotations")) {
            addAnnotation(made, annotation);
        }
        for (const Json& image : group.at("images")) {
            addImage(made, image);
        }
    }

    void addLun(const std::string& group, const Json& lun)
    {
        const SLun made = CLunData(m_store, m_appliance).create(group, lunName(lun), SIZE, std::nullopt);
        run("UPDATE lun SET serial = ? WHERE id = ?", lun.at("serial").get<std::string>(), made.id);
        for (const Json& host : m_told.at("hosts")) {
            const bool isHere = host.at("name") == hostHere();
            const bool isPresented = isHere ? !lun.at("path").is_null() : isAmong(host.at("luns"), lun.at("serial"));
            if (isPresented) m_inventory.present(m_appliance, made.name, host.at("name"));
        }
        addPath(m_store.layout().lun(m_appliance.name, made.name), lun.at("path"));
    }

    static bool isAmong(const Json& list, const Json& value)
    {
        return list.is_array() && std::find(list.begin(), list.end(), value) != list.end();
    }

    void addAnnotation(const SGroup& group, const Json& annotation)
    {
        const std::string name = annotation.at("name");
        const Json& message = annotation.at("message");
        CProtection(m_store, *m_engine)
            .createAnnotation(m_appliance, group.name, name,
                              message.is_string() ? message.get<std::string>() : std::string());
        run("UPDATE annotation SET created = ? WHERE cgroup_id = ? AND name = ?",
            told(annotation, "time").get<std::string>(), group.id, name);
    }

    void addImage(const SGroup& group, const Json& image)
    {
        if (!image.at("read").get<bool>()) fail(reasonOf(image, "one of its time images could not be read"));
        STimeImageRequest request;
        request.name = image.at("name");
        request.group = group.name;
        request.annotation = told(image, "annotation");
        for (const Json& host : told(image, "permissions")) {
            request.hosts.push_back(host);
        }
        CProtection(m_store, *m_engine).createTimeImage(m_appliance, request);
        const STimeImage made = m_catalog.timeImage(group, request.name);
        run("UPDATE time_image SET created = ? WHERE id = ?", told(image, "created").get<std::string>(), made.id);
        for (const SImageLun& lun : m_catalog.timeImageLuns(made)) {
            addImageLun(made, lun, image.at("luns"));
        }
    }

    void addImageLun(const STimeImage& image, const SImageLun& made, const Json& luns)
    {
        for (const Json& lun : luns) {
            if (lun.at("source") != made.source.serial) continue;
            run("UPDATE time_image_lun SET serial = ? WHERE time_image_id = ? AND lun_id = ?",
                lun.at("target").get<std::string>(), image.id, made.source.id);
            if (lun.at("path").is_null() || hostHere().empty()) return;
            run("INSERT OR IGNORE INTO discovered (time_image_id, host_id) VALUES (?, ?)", image.id,
                m_inventory.host(m_appliance, hostHere()).id);
            addPath(m_store.layout().imageLun(m_appliance.name, image.folder, made.source.name), lun.at("path"));
            return;
        }
        fail("a time image does not show LUN " + inQuotes(made.source.serial));
    }

    void addPath(const std::filesystem::path& shadow, const Json& path)
    {
        if (!path.is_null()) m_result["paths"].push_back({{"shadow", shadow.string()}, {"path", path}});
    }

    template <class... Values>
    void run(const char* sql, const Values&... values)
    {
        CQuery(m_store.database(), sql, values...).run();
    }

    CStore& m_store;
    const Json& m_told;
    Json& m_result;
    CInventory m_inventory;
    CCatalog m_catalog;
    SAppliance m_appliance;
    std::unique_ptr<CBaseStorageEngine> m_engine;
};

}  // namespace

Json fillShadow(CStore& store, const Json& inspection)
{
    Json result = {{"host", nullptr}, {"paths", Json::array()}, {"unknown", Json::array()}};
    for (const Json& appliance : inspection.at("appliances")) {
        CFilling(store, appliance, result).run();
        if (appliance.at("host_here").is_object() && result["host"].is_null()) {
            result["host"] = appliance["host_here"].at("name");
        }
    }
    return result;
}

}  // namespace lumora
