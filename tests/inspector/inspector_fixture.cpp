#include "tests/inspector/inspector_fixture.h"

#include <stdexcept>

SRun CInspectorTest::run(const std::vector<std::string>& words, const std::string& host) const
{
    std::string commandLine = CDPFI_INSPECTOR;
    for (const std::string& word : words) {
        commandLine += " '";
        for (const char character : word) {
            commandLine += character == '\'' ? std::string("'\\''") : std::string(1, character);
        }
        commandLine += "'";
    }
    return site.shell(host, "exec " + commandLine);
}

nlohmann::json CInspectorTest::document(const std::vector<std::string>& words, int status) const
{
    const SRun done = run(words);
    EXPECT_EQ(done.status, status) << done.out << done.err;
    const CJson parsed = done.json();
    if (!parsed.is_object()) throw std::runtime_error("no document: " + done.out + done.err);
    return parsed;
}

void CInspectorTest::replaceTool(const std::string& name, const std::string& script)
{
    namespace fs = std::filesystem;
    const fs::path tools = site.folder() / "tools";
    fs::create_directories(tools);
    for (const char* each : {"lmsh", "kforutil"}) {
        if (!fs::exists(tools / each)) fs::create_symlink(std::string(CDPFI_BIN_DIR) + "/" + each, tools / each);
    }
    fs::remove(tools / name);
    ::writeFile(tools / name, "#!/bin/sh\nscript=$(cat)\n" + script + "\n");
    fs::permissions(tools / name, fs::perms::owner_all);
    writeFile("/etc/qz/cdpfi.conf", "[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=" + tools.string() + "/\nLMR_KFORUTIL_PATH=" +
                                        tools.string() + "/\n[FI_NETWORK]\nLOCAL_NAME=production\n");
}

std::string CInspectorTest::realTool(const std::string& name) const
{
    return "printf '%s\\n' \"$script\" | " + std::string(CDPFI_BIN_DIR) + "/" + name + " \"$@\"";
}

void CInspectorTest::writeFile(const std::string& path, const std::string& content) const
{
    ::writeFile(place(path), content);
}

void CInspectorTest::makeImage(const std::string& appliance, const std::string& group, const std::string& suffix,
                               const std::string& host) const
{
    const std::string checkpoint = "\"KSV_Check_Point_" + suffix + "\"";
    const SRun done = site.lmsh("production", appliance,
                                "create annotation " + checkpoint + " \"" + group +
                                    "\"\\nset message CreatedByKestrav\\ncommit\\ncreate timeimage \"KSV_Time_Image_" +
                                    suffix + "\" \"" + group + "\"\\nuse annotation " + checkpoint +
                                    "\\nadd permission \"" + host + "\"\\ncommit");
    if (done.status != 0) throw std::runtime_error(done.err);
}

const nlohmann::json& named(const nlohmann::json& list, const std::string& name)
{
    for (const nlohmann::json& entry : list) {
        if (entry.at("name") == name) return entry;
    }
    throw std::runtime_error("nothing of the name " + name + " in " + list.dump());
}
