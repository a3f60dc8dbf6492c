#include "providers/cdp/lmr/lmr_configuration.h"

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <set>

#include "providers/cdp/lmr/tests/fake_tool_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {
namespace {

class ToolConfiguration : public CFakeToolTest
{
  protected:
    std::string shell() const { return program(CLMRConfiguration(log()).importlmshPathInfo()); }
    std::string utility() const { return program(CLMRConfiguration(log()).importkforUtilPathInfo()); }
    static std::string program(const SLMRCliPath& tool)
    {
        return std::string(tool.path.c_str()) + "|" + tool.name.c_str();
    }
    /// Compares what these values of the section give.
    void expectTools(const std::string& values, const std::string& expectedShell, const std::string& expectedUtility)
    {
        writeConfiguration("[LMR_CLI_CONFIG]\n" + values);
        EXPECT_EQ(expectedShell, shell()) << values;
        EXPECT_EQ(expectedUtility, utility()) << values;
    }
    void expectDefaults()
    {
        EXPECT_EQ("/opt/QXPKlm/bin/|lmsh", shell());
        EXPECT_EQ("/usr/sbin/|kforutil", utility());
    }
};

TEST_F(ToolConfiguration, MissingStoreGivesTheDefaults)
{
    std::filesystem::remove(root() / "etc/qz/cdpfi.conf");
    expectDefaults();
}

TEST_F(ToolConfiguration, MissingSectionGivesTheDefaults)
{
    writeConfiguration("[FI_TRACE]\nLEVEL=2\n");
    expectDefaults();
}

TEST_F(ToolConfiguration, EmptySectionGivesTheDefaults)
{
    writeConfiguration("[LMR_CLI_CONFIG]\n");
    expectDefaults();
}

TEST_F(ToolConfiguration, UnreadableStoreGivesTheDefaults)
{
    std::filesystem::remove(root() / "etc/qz/cdpfi.conf");
    std::filesystem::create_directory(root() / "etc/qz/cdpfi.conf");
    expectDefaults();
}

TEST_F(ToolConfiguration, DirectoryWithoutASlashGainsOne)
{
    expectTools("LMR_LMSH_PATH=/a/b\nLMR_KFORUTIL_PATH=/c\n", "/a/b/|lmsh", "/c/|kforutil");
}

TEST_F(ToolConfiguration, DirectoryWithASlashIsKept)
{
    expectTools("LMR_LMSH_PATH=/a/b/\nLMR_KFORUTIL_PATH=/\n", "/a/b/|lmsh", "/|kforutil");
}

TEST_F(ToolConfiguration, NameAloneGoesWithTheDefaultDirectory)
{
    expectTools("LMR_LMSH_NAME=sh2\nLMR_KFORUTIL_NAME=util2\n", "/opt/QXPKlm/bin/|sh2", "/usr/sbin/|util2");
}

TEST_F(ToolConfiguration, EmptyDirectoryBecomesTheRoot)
{
    expectTools("LMR_LMSH_PATH=\nLMR_KFORUTIL_PATH=\"\"\n", "/|lmsh", "/|kforutil");
}

TEST_F(ToolConfiguration, EmptyNameStaysEmpty)
{
    writeConfiguration("[LMR_CLI_CONFIG]\nLMR_LMSH_NAME=\"\"\n");
    EXPECT_EQ("/opt/QXPKlm/bin/|", shell());
}

/// What a value of the store may be, and what it then gives.
struct SValue
{
    const char* line;
    const char* result;
};

TEST_F(ToolConfiguration, EachCombinationOfTheFourValuesMissingEmptyOrSetIsIndependent)
{
    const SValue shellPaths[] = {{"", "/opt/QXPKlm/bin/"},
                                 {"LMR_LMSH_PATH=\"\"\n", "/"},
                                 {"LMR_LMSH_PATH=/s\n", "/s/"},
                                 {"LMR_LMSH_PATH=/s/\n", "/s/"}};
    const SValue shellNames[] = {{"", "lmsh"}, {"LMR_LMSH_NAME=\"\"\n", ""}, {"LMR_LMSH_NAME=sh2\n", "sh2"}};
    const SValue utilityPaths[] = {{"", "/usr/sbin/"},
                                   {"LMR_KFORUTIL_PATH=\"\"\n", "/"},
                                   {"LMR_KFORUTIL_PATH=/u\n", "/u/"},
                                   {"LMR_KFORUTIL_PATH=/u/\n", "/u/"}};
    const SValue utilityNames[] = {
        {"", "kforutil"}, {"LMR_KFORUTIL_NAME=\"\"\n", ""}, {"LMR_KFORUTIL_NAME=util2\n", "util2"}};
    const auto check = [this](const SValue& shellPath, const SValue& shellName, const SValue& utilityPath,
                              const SValue& utilityName) {
        const std::string values = std::string(shellPath.line) + shellName.line + utilityPath.line + utilityName.line;
        expectTools(values, std::string(shellPath.result) + "|" + shellName.result,
                    std::string(utilityPath.result) + "|" + utilityName.result);
    };
    for (const SValue& shellPath : shellPaths) {
        for (const SValue& shellName : shellNames) {
            for (const SValue& utilityPath : utilityPaths) {
                for (const SValue& utilityName : utilityNames) {
                    check(shellPath, shellName, utilityPath, utilityName);
                }
            }
        }
    }
}

TEST_F(ToolConfiguration, ExceptionOfALookUpLeavesTheDefaultsOfWhatWasNotReadYet)
{
    writeConfiguration("[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=/a/directory/of/tools/\nLMR_LMSH_NAME=sh2\nMAX_PARALLEL=3\n");
    const std::string read = "/a/directory/of/tools/|sh2";
    std::set<std::string> results;
    for (int skipped = 0;; ++skipped) {
        CLMRConfiguration configuration({});
        std::optional<CMemoryFault> fault(std::in_place, CMemoryFault::EKind::OPERATOR_NEW, skipped);
        const SLMRCliPath tool = configuration.importlmshPathInfo();
        const bool happened = fault->happened();
        fault.reset();
        const std::string result = program(tool);
        results.insert(result);
        if (result == read) break;
        ASSERT_TRUE(happened) << result;
    }
    EXPECT_EQ((std::set<std::string>{"/opt/QXPKlm/bin/|lmsh", "/a/directory/of/tools/|lmsh", read}), results);
}

TEST_F(ToolConfiguration, ExceptionOfALookUpOfANumberLeavesItsDefault)
{
    writeConfiguration("[LMR_CLI_CONFIG]\nMAX_PARALLEL=3\n");
    CLMRConfiguration configuration({});
    unsigned count = 0;
    {
        const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, 0);
        count = configuration.importMaxParallel();
        EXPECT_TRUE(fault.happened());
    }
    EXPECT_EQ(8u, count);
    EXPECT_EQ(3u, configuration.importMaxParallel());
}

TEST_F(ToolConfiguration, LookUpsAreTracedAsFunctions)
{
    shell();
    utility();
    EXPECT_EQ((std::vector<std::string>{"L6 Entering Function importlmshPathInfo [<line>, lmr_configuration.cpp]",
                                        "L6 Exiting Function importlmshPathInfo [<line>, lmr_configuration.cpp]",
                                        "L6 Entering Function importkforUtilPathInfo [<line>, lmr_configuration.cpp]",
                                        "L6 Exiting Function importkforUtilPathInfo [<line>, lmr_configuration.cpp]"}),
              takeTrace());
}

TEST_F(ToolConfiguration, NumberOfCommandsAtOnceIsBetweenOneAnd64)
{
    const auto countFor = [this](const std::string& value) {
        writeConfiguration("[LMR_CLI_CONFIG]\nMAX_PARALLEL=" + value + "\n");
        return CLMRConfiguration(log()).importMaxParallel();
    };
    EXPECT_EQ(1u, countFor("1"));
    EXPECT_EQ(20u, countFor("20"));
    EXPECT_EQ(64u, countFor("64"));
    EXPECT_EQ(1u, countFor("0"));
    EXPECT_EQ(64u, countFor("65"));
    EXPECT_EQ(64u, countFor("2147483647"));
}

TEST_F(ToolConfiguration, NumberOfCommandsAtOnceIsEightUnlessANumberIsSet)
{
    for (const char* values : {"", "MAX_PARALLEL=\n", "MAX_PARALLEL=many\n", "MAX_PARALLEL=-1\n"}) {
        writeConfiguration(std::string("[LMR_CLI_CONFIG]\n") + values);
        EXPECT_EQ(8u, CLMRConfiguration(log()).importMaxParallel()) << values;
    }
    std::filesystem::remove(root() / "etc/qz/cdpfi.conf");
    EXPECT_EQ(8u, CLMRConfiguration(log()).importMaxParallel());
}

}  // namespace
}  // namespace cdpfi
