#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/tests/canned_inspector.h"

/// A sound site, of which a test spoils what it is about.
class CDoctorTest : public CInspectedTest
{
  protected:
    void SetUp() override
    {
        CInspectedTest::SetUp();
        m_list = m_root + "/etc/qz/hls.conf";
        m_store = m_root + "/etc/qz/fakefi.conf";
        m_tool = m_root + "/tool/shell";
        std::filesystem::create_directories(m_root + "/etc/qz");
        std::filesystem::create_directories(m_root + "/tool");
        std::filesystem::create_directories(m_root + "/var/log/qz");
        for (const std::string& file : {m_list, m_store, m_tool}) {
            base_test::writeFile(file, "");
        }
        nlohmann::json& configuration = m_seen["configuration"];
        configuration["files"] = {file(m_list, true), file(m_store, true)};
        configuration["values"] = {
            {{"name", "X/PATH"}, {"value", m_root + "/tool/"}, {"file", m_store}, {"line", 2}},
            {{"name", "FI_TRACE/FILE"}, {"value", "/var/log/qz/x.log"}, {"file", nullptr}, {"line", nullptr}},
            {{"name", "FI_TRACE/MAX_SIZE"}, {"value", "100"}, {"file", nullptr}, {"line", nullptr}}};
        configuration["appliances"] = {{{"name", "ap1"}, {"port", "9000"}, {"file", m_list}, {"line", 3}}};
        m_seen["tools"] = {tool("lmsh", m_tool), tool("lmsh-fixed", m_root + "/fixed/lmsh")};
        m_seen["appliances"] = {appliance("ap1")};
        m_seen["appliances"][0]["groups"] = {group("g1", {"S1"})};
        m_seen["disks"]["devices"] = {{{"path", "/dev/fake1"}, {"serial", "S1"}}};
    }

    static nlohmann::json file(const std::string& path, bool isRead)
    {
        return {{"path", path},
                {"read", isRead},
                {"reason", isRead ? nlohmann::json() : nlohmann::json("Permission denied")}};
    }

    static nlohmann::json tool(const std::string& name, const std::string& path)
    {
        return {{"name", name},    {"path", path},    {"exists", true},   {"executable", true},
                {"answers", true}, {"seconds", 0.02}, {"reason", nullptr}};
    }

    std::string catalog() const { return m_root + "/var/lib/qz/fictl.db"; }

    /// The doctor's lines that are not OK.
    std::vector<std::string> complaints() const
    {
        setInspection();
        return complaintsOf(fictl({"doctor"}));
    }

    static std::vector<std::string> complaintsOf(const SRun& run)
    {
        std::vector<std::string> lines;
        std::istringstream text(run.out);
        bool isHealthy = true;
        for (std::string line; std::getline(text, line);) {
            if (!line.starts_with("OK   ")) lines.push_back(line);
            isHealthy = isHealthy && !line.starts_with("FAIL ");
        }
        EXPECT_EQ(run.exit, isHealthy ? 0 : 8) << run.out << run.err;
        EXPECT_EQ(run.err, "");
        return lines;
    }

    void expectComplaint(const std::string& line) const { EXPECT_EQ(complaints(), std::vector<std::string>{line}); }

    std::string m_list;  // files of the configuration
    std::string m_store;
    std::string m_tool;
};
