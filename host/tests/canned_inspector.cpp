#include "host/tests/canned_inspector.h"

#include <filesystem>

using nlohmann::json;
namespace fs = std::filesystem;

void CInspectedTest::SetUp()
{
    CFictlTest::SetUp();
    fs::create_symlink(FICTL_FAKE_PROVIDER, provider());
    const json tool = {{"name", "lmsh"},  {"path", "/bin/sh"}, {"exists", true},   {"executable", true},
                       {"answers", true}, {"seconds", 0.02},   {"reason", nullptr}};
    m_seen = {{"format", "obzx-inspection"},
              {"schema_version", 1},
              {"provider", "fakefi"},
              {"provider_version", "7.0.0.0"},
              {"taken", "2026-11-21T19:00:00Z"},
              {"seconds", 0.12},
              {"configuration",
               {{"files", json::array()},
                {"values", json::array()},
                {"unreadable_lines", json::array()},
                {"commented_appliances", json::array()},
                {"appliances", json::array()}}},
              {"tools", {tool}},
              {"host", {{"name", "production"}, {"further_names", json::array()}, {"reason", nullptr}}},
              {"disks", {{"read", true}, {"reason", nullptr}, {"devices", json::array()}}},
              {"appliances", json::array()},
              {"ambiguous", json::array()},
              {"raw", nullptr}};
}

SRun CInspectedTest::fictl(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--provider", provider()});
    return run(arguments);
}

SRun CInspectedTest::fictlJson(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--output", "json"});
    return fictl(std::move(arguments));
}

void CInspectedTest::setInspection() const
{
    base_test::writeFile(m_root + "/inspection.json", m_seen.dump());
    setInspectorScript("cat '" + m_root + "/inspection.json'");
}

void CInspectedTest::setInspectorScript(const std::string& script) const
{
    base_test::writeFile(inspector(), "#!/bin/sh\necho \"$*\" >>'" + m_root + "/inspector-calls'\n" + script + "\n");
    fs::permissions(inspector(), fs::perms::owner_all);
}

json CInspectedTest::appliance(const std::string& name)
{
    return {{"name", name},
            {"reachable", true},
            {"reason", nullptr},
            {"not_listings", json::array()},
            {"host_here", {{"name", "production"}, {"by", "name"}}},
            {"hosts_read", true},
            {"hosts", json::array()},
            {"groups_read", true},
            {"groups", json::array()}};
}

json CInspectedTest::group(const std::string& name, const std::vector<std::string>& serials)
{
    json luns = json::array();
    for (const std::string& serial : serials) {
        luns.push_back({{"device", "/dev/x/" + serial}, {"serial", serial}, {"path", nullptr}});
    }
    return {{"name", name},
            {"read", true},
            {"reason", nullptr},
            {"luns", luns},
            {"permissions", json::array()},
            {"annotations", json::array()},
            {"images_read", true},
            {"images", json::array()}};
}

json CInspectedTest::image(const std::string& name, const std::string& source, const std::string& target)
{
    return {{"name", name},
            {"read", true},
            {"reason", nullptr},
            {"annotation", nullptr},
            {"created", nullptr},
            {"permissions", json::array()},
            {"luns", {{{"source", source}, {"target", target}, {"path", nullptr}}}}};
}
