// docs/host-interface.md, the public header and the runtime's default operations say the same.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "framework/include/obz_entry_points.h"
#include "framework/tests/plugin/default_calls.h"
#include "framework/tests/support/host_interface_document.h"

namespace obzx_pdk_4_4 {
namespace {

using test::readInterfaceHeader;
using test::readInterfaceTables;
using test::SInterfaceRow;
using test::SInterfaceType;

TEST(HostInterfaceDocument, ListsEveryEntryPointOnce)
{
    std::set<std::string> expected;
#define OBZX_ADD_NAME(name) expected.insert(#name);
    OBZX_FI_ENTRY_POINTS(OBZX_ADD_NAME)
#undef OBZX_ADD_NAME
    EXPECT_EQ(expected.size(), size_t{OBZX_FI_ENTRY_POINT_COUNT});
    std::set<std::string> listed;
    for (const auto& row : readInterfaceTables()) {
        listed.insert(row.first);
    }
    EXPECT_EQ(listed, expected);
}

TEST(HostInterfaceDocument, AgreesWithTheHeaderOnWhatIsGated)
{
    const std::map<std::string, SInterfaceType> header = readInterfaceHeader();
    EXPECT_EQ(header.size(), size_t{OBZX_FI_ENTRY_POINT_COUNT});
    for (const auto& [name, row] : readInterfaceTables()) {
        ASSERT_EQ(header.count(name), 1u) << name;
        EXPECT_EQ(row.gated == "yes", header.at(name).isGated()) << name;
    }
}

TEST(HostInterfaceDocument, CallsArgumentsByTheirNamesInTheHeader)
{
    // Words of the column that are no names.
    const std::set<std::string> words = {"all", "when", "the", "is", "above", "a", "of", "any", "other", "value"};
    const std::map<std::string, SInterfaceType> header = readInterfaceHeader();
    const std::regex word("[a-z_]+");
    for (const auto& [name, row] : readInterfaceTables()) {
        for (std::sregex_iterator found(row.needs.begin(), row.needs.end(), word), end; found != end; ++found) {
            if (words.count(found->str()) != 0) continue;
            EXPECT_TRUE(header.at(name).hasParameter(found->str())) << name << ": " << found->str();
        }
    }
}

TEST(HostInterfaceDocument, AgreesWithTheHeaderOnWhatAProviderAnswersThatDoesNothing)
{
    const std::map<std::string, SInterfaceType> header = readInterfaceHeader();
    for (const auto& [name, row] : readInterfaceTables()) {
        ASSERT_EQ(header.count(name), 1u) << name;
        const std::string kind = header.at(name).kind();
        const bool isRefused = row.status == OBZ_ERR_UNSUPPORTED || name == "make";
        // The outcome of an object-control request is not the status of its entry point.
        if (name == "objctl") continue;
        EXPECT_EQ(kind == "Action", isRefused) << name;
    }
}

TEST(HostInterface, SaysOfEveryEntryPointWhatItDoes)
{
    constexpr size_t MARKS = std::string_view("Gated. Notice: ").size();
    for (const auto& [name, type] : readInterfaceHeader()) {
        EXPECT_GE(type.contract.size(), MARKS + 20) << name;
    }
}

TEST(HostInterfaceDocument, NamesTheDefaultsThatTheOperationsReturn)
{
    CFiPluginInterposer plugin;
    test::CDefaultCalls calls(plugin);
    test::callAllDefaults(calls);
    const std::map<std::string, SInterfaceRow> table = readInterfaceTables();
    for (const auto& [name, result] : calls.results()) {
        ASSERT_EQ(table.count(name), 1u) << name;
        EXPECT_EQ(table.at(name).operation, result.operation) << name;
        EXPECT_EQ(table.at(name).status, result.status) << name;
    }
    EXPECT_EQ(calls.results().size(), table.size());
}

}  // namespace
}  // namespace obzx_pdk_4_4
