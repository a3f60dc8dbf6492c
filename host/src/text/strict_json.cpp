#include "host/src/text/strict_json.h"

#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

using nlohmann::json;

// Watches the parser: the library itself would keep the last of two equal keys and go to any depth.
class CStrictness
{
  public:
    explicit CStrictness(int deepest) : m_deepest(deepest) {}

    bool operator()(int depth, json::parse_event_t event, json& parsed)
    {
        if (depth > m_deepest) throw EStrictJson("it is nested too deeply");
        if (event == json::parse_event_t::object_start) m_keys.emplace_back();
        if (event == json::parse_event_t::object_end) m_keys.pop_back();
        if (event == json::parse_event_t::key && !m_keys.back().insert(parsed.get<std::string>()).second) {
            throw EStrictJson("key \"" + printable(parsed.get<std::string>()) + "\" stands twice");
        }
        return true;
    }

  private:
    int m_deepest;
    std::vector<std::set<std::string>> m_keys;
};

}  // namespace

EStrictJson::~EStrictJson() = default;

json parseStrictly(std::string_view text, int deepest)
{
    try {
        return json::parse(text.begin(), text.end(), CStrictness(deepest));
    } catch (const json::exception& error) {
        throw EStrictJson(printable(error.what()));
    }
}

void requireKeys(const json& object, std::initializer_list<const char*> keys, const std::string& what)
{
    if (!object.is_object()) throw EStrictJson(what + " is not an object");
    const std::set<std::string> known(keys.begin(), keys.end());
    for (const auto& [key, value] : object.items()) {
        if (!known.contains(key)) throw EStrictJson(what + " has the unknown key \"" + printable(key) + "\"");
    }
    for (const std::string& key : known) {
        if (!object.contains(key)) throw EStrictJson(what + " has no \"" + key + "\"");
    }
}

}  // namespace fictl
