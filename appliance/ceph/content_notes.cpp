#include "appliance/ceph/content_notes.h"

#include <cerrno>
#include <nlohmann/json.hpp>

#include "appliance/ceph/ceph_error.h"
#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

using Json = nlohmann::json;

std::string objectOf(const std::string& content)
{
    return "content." + content;
}

std::string inWords(const CCephPool& pool, const std::string& content)
{
    return "the note of content " + inQuotes(content) + " in pool " + inQuotes(pool.name());
}

}  // namespace

void CContentNotes::write(const std::string& content, const SContentNote& note) const
{
    const std::string text = Json{{"group", note.group}, {"parts", note.parts}}.dump();
    checkCeph(::rados_write_full(m_pool.handle(), objectOf(content).c_str(), text.data(), text.size()), "write",
              inWords(m_pool, content));
}

SContentNote CContentNotes::read(const std::string& content) const
{
    uint64_t size = 0;
    time_t written = 0;
    int code = ::rados_stat(m_pool.handle(), objectOf(content).c_str(), &size, &written);
    if (code == -ENOENT) return {};
    checkCeph(code, "read", inWords(m_pool, content));
    std::string text(size, '\0');
    code = ::rados_read(m_pool.handle(), objectOf(content).c_str(), text.data(), text.size(), 0);
    if (code == -ENOENT) return {};
    checkCeph(code, "read", inWords(m_pool, content));
    try {
        const Json json = Json::parse(text.substr(0, static_cast<size_t>(code)));
        return {json.at("group").get<std::string>(), json.at("parts").get<std::map<std::string, std::string>>()};
    } catch (const Json::exception&) {
        throw EApplianceError(EStatus::STORAGE, inWords(m_pool, content) + " is damaged");
    }
}

void CContentNotes::remove(const std::string& content) const
{
    const int code = ::rados_remove(m_pool.handle(), objectOf(content).c_str());
    if (code != -ENOENT) checkCeph(code, "remove", inWords(m_pool, content));
}

}  // namespace lumora
