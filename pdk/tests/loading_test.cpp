// A provider's library as the host's process sees it.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>

#include "base/tests/test_root.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/tests/entry_calls.h"
#include "pdk/tests/footprint.h"
#include "pdk/tests/trace_lines.h"

namespace pdktest {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// Name and kind of each dynamic symbol that a library defines.
std::vector<std::pair<std::string, char>> definedSymbols(const std::string& name)
{
    const std::string command = "nm -D --defined-only --format=posix '" + providerPath(name) + "'";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::vector<std::pair<std::string, char>> symbols;
    std::array<char, 4096> line;
    char symbol[1024];
    char kind = 0;
    while (fgets(line.data(), line.size(), pipe.get()) != nullptr) {
        if (sscanf(line.data(), "%1023s %c", symbol, &kind) == 2) symbols.emplace_back(symbol, kind);
    }
    return symbols;
}

bool isLoaded(const std::string& name)
{
    std::string path = providerPath(name);
    const auto isIt = [](dl_phdr_info* info, size_t, void* wanted) {
        return std::filesystem::path(info->dlpi_name).filename() ==
                       std::filesystem::path(*static_cast<std::string*>(wanted)).filename()
                   ? 1
                   : 0;
    };
    return dl_iterate_phdr(isIt, &path) != 0;
}

TEST(ProviderLibrary, ExportsItsEntryPointsAndNothingElse)
{
    for (const std::string name : {"testfi", "othertestfi", "plainfi"}) {
        SCOPED_TRACE(name);
        std::set<std::pair<std::string, char>> expected;
        for (const SEntryType& type : entryTypes()) {
            expected.emplace(name + "_fi_pgn_" + type.name, 'T');
        }
        const auto symbols = definedSymbols(name);
        EXPECT_THAT(symbols, ::testing::UnorderedElementsAreArray(expected));
    }
}

TEST(ProviderLibrary, IsGoneFromTheProcessAfterItWasUnloaded)
{
    const base_test::CTestRoot root;
    {
        const CLoadedProvider provider(providerPath("testfi"), "testfi");
        provider.init();
        EXPECT_TRUE(isLoaded("testfi"));
        provider.fini();
    }
    EXPECT_FALSE(isLoaded("testfi"));
    {
        const CLoadedProvider provider(providerPath("testfi"), "testfi");
        provider.init();
    }
    EXPECT_FALSE(isLoaded("testfi")) << "also without fini";
}

TEST(ProviderLibrary, SharesNothingWithAnotherProviderOfTheProcess)
{
    const base_test::CTestRoot root;
    testfi::STestRecord record;
    const CLoadedProvider one(providerPath("testfi"), "testfi");
    const CLoadedProvider other(providerPath("othertestfi"), "othertestfi");
    one.init();
    other.init();
    EXPECT_EQ(record.plugins, 2);
    EXPECT_EQ(record.calls.at(0).texts.at(0), "testfi");
    EXPECT_EQ(record.calls.at(1).texts.at(0), "othertestfi");
    EXPECT_EQ(record.calls.at(1).texts.at(6), "othertestfi") << "the component of the trace log";

    CHostObjects objects;
    obz_splitnode* nodes[] = {objects.splitNode("a")};
    one.get<obzx_fi_select_fn>("select")(nullptr, "session", nodes, 1);
    obz_snaphandle handle = {};
    record.forget();
    other.get<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")("session", &handle);
    EXPECT_THAT(record.callsOf("updateSnapshotHandle").at(0).texts, IsEmpty()) << "sessions";

    CTraceLines lines;
    other.get<obzx_fi_enumerate_fims_fn>("enumerate_fims")(nullptr);
    EXPECT_THAT(lines.take(), Each(StartsWith("L6 othertestfi ")));
    one.fini();
    EXPECT_EQ(record.plugins, 1);
    lines.take();
    other.get<obzx_fi_enumerate_fims_fn>("enumerate_fims")(nullptr);
    EXPECT_THAT(lines.take(), SizeIs(2)) << "its trace log outlives the other's";
    other.fini();
    EXPECT_EQ(record.plugins, 0);
}

void useOnce()
{
    CHostObjects objects;
    const CLoadedProvider provider(providerPath("plainfi"), "plainfi");
    ASSERT_EQ(provider.init(), OBZ_OK);
    obz_splitnode* nodes[] = {objects.splitNode("a")};
    obz_snaphandle handle = {};
    char* reply = nullptr;
    int64_t status = 0;
    EXPECT_EQ(provider.get<obzx_fi_select_fn>("select")(nullptr, "session", nodes, 1), OBZ_OK);
    EXPECT_EQ(provider.get<obzx_fi_prepare_fn>("prepare")(nullptr, "session", nodes, 1, 0), OBZ_OK);
    EXPECT_EQ(provider.get<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")("session", &handle), OBZ_OK);
    EXPECT_EQ(provider.get<obzx_fi_objctl_fn>("objctl")("object", nullptr, &reply, &status), OBZ_OK);
    obzx_free_snaphandle(&handle);
    free(reply);
    provider.fini();
}

TEST(ProviderLibrary, LeavesNothingBehindInAThousandLives)
{
    const base_test::CTestRoot root;
    for (int i = 0; i < 10; ++i) {
        useOnce();  // what the process sets up once
    }
    const SFootprint before = SFootprint::take();
    for (int i = 0; i < 1000; ++i) {
        useOnce();
    }
    expectNoGrowth(before, SFootprint::take(), 1000);
}

}  // namespace
}  // namespace pdktest
