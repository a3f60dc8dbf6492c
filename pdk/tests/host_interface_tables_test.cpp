// Every cell of the tables of docs/host-interface.md, held to a provider whose operations are all the framework's own.
// What the calls of all providers have in common is tested beside it (null_arguments_test.cpp, entry_points_test.cpp),
// by facts that are written down there; here the page is held to these and to what the calls do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <set>

#include "base/tests/test_root.h"
#include "framework/tests/support/host_interface_document.h"
#include "pdk/tests/null_matrix.h"

namespace pdktest {
namespace {

using obzx_pdk_4_4::test::readInterfaceHeader;
using obzx_pdk_4_4::test::readInterfaceTables;
using obzx_pdk_4_4::test::SInterfaceParameter;
using obzx_pdk_4_4::test::SInterfaceRow;
using obzx_pdk_4_4::test::SInterfaceType;

constexpr int RUBBISH = 0x5A;

class HostInterfaceTables : public ::testing::Test
{
  protected:
    HostInterfaceTables() { provider.init(); }

    /// Arguments of a call whose outputs hold rubbish.
    CWords argumentsOf(const std::string& name)
    {
        CWords words = argumentsToConsume(typeOf(name), objects);
        const std::vector<SInterfaceParameter>& parameters = header.at(name).parameters;
        for (size_t i = 0; i < parameters.size(); ++i) {
            if (isOutput(parameters[i])) memset(fromWord<void*>(words[i]), RUBBISH, sizeof(uint64_t));
        }
        return words;
    }
    int64_t call(const std::string& name, const CWords& words) const
    {
        return typeOf(name).invoke(provider.find(name), words);
    }
    /// The word of an argument by its name.
    uint64_t& argument(const std::string& name, CWords& words, const std::string& parameter) const
    {
        const std::vector<SInterfaceParameter>& parameters = header.at(name).parameters;
        for (size_t i = 0; i < parameters.size(); ++i) {
            if (parameters[i].name == parameter) return words[i];
        }
        throw std::runtime_error(name + " has no " + parameter);
    }
    /// What a call left in its outputs, as the tables say it: "null, 0".
    std::string outputsOf(const std::string& name, const CWords& words) const
    {
        std::string told;
        const std::vector<SInterfaceParameter>& parameters = header.at(name).parameters;
        for (size_t i = 0; i < parameters.size(); ++i) {
            if (!isOutput(parameters[i])) continue;
            told += told.empty() ? "" : ", ";
            const bool isPointer = parameters[i].type.ends_with("**");
            const size_t size = parameters[i].type == "int32_t*" ? sizeof(int32_t) : sizeof(int64_t);
            uint64_t value = 0;
            memcpy(&value, fromWord<void*>(words[i]), size);
            told += isPointer ? (value == 0 ? "null" : "set") : std::to_string(value);
        }
        return told.empty() ? "-" : told;
    }
    static const SEntryType& typeOf(const std::string& name)
    {
        for (const SEntryType& type : entryTypes()) {
            if (type.name == name) return type;
        }
        throw std::runtime_error("no entry point " + name);
    }
    /// Pointers to pointers and to numbers, but for the lists that go in.
    static bool isOutput(const SInterfaceParameter& parameter)
    {
        static const std::set<std::string> LISTS = {"from", "to", "input", "list", "names", "paths"};
        if (LISTS.count(parameter.name) != 0 || parameter.type == "obz_splitnode**") return false;
        return parameter.type.ends_with("**") || parameter.type == "int32_t*" || parameter.type == "int64_t*" ||
               parameter.type == "long*";
    }

    base_test::CTestRoot root;
    CHostObjects objects;
    CLoadedProvider provider{providerPath("plainfi"), "plainfi"};
    const std::map<std::string, SInterfaceRow> tables = readInterfaceTables();
    const std::map<std::string, SInterfaceType> header = readInterfaceHeader();
};

TEST_F(HostInterfaceTables, NameTheOperationAndTheGate)
{
    EXPECT_EQ(tables.size(), ENTRY_FACTS.size());
    for (const auto& [name, row] : tables) {
        const SEntryFacts& facts = factsOf(name);
        EXPECT_EQ(row.operation, facts.operation.empty() ? "none" : facts.operation) << name;
        const std::string gate = facts.isGated ? "yes" : "no";
        EXPECT_EQ(row.gated, name == "interpose" ? "failure ignored" : gate) << name;
    }
}

/// The cell that the facts about an entry point make: the names of what must not be null, what else is wanted, and the
/// status for a null where that is not 3.
std::string needsOf(const SEntryFacts& facts, const SInterfaceType& type)
{
    std::string names;
    std::string lists;
    std::string others;
    bool areAll = true;
    for (size_t i = 0; i < facts.parameters.size(); ++i) {
        const SInterfaceParameter& parameter = type.parameters[i];
        if (facts.parameters[i] == 'z') others = "a " + parameter.name + " of 0";
        if (facts.parameters[i] == 'o') areAll = false;
        if (facts.parameters[i] != 'n') continue;
        const bool hasCount = parameter.type == "obz_splitnode**" || parameter.name == "paths";
        if (hasCount) {
            lists = parameter.name + " when the count is above 0";
        } else {
            names += (names.empty() ? "" : ", ") + parameter.name;
        }
    }
    if (facts.name == "process_providerstate") others = "any other operation value (3)";
    const bool hasStatus = !names.empty() && facts.nullStatus != OBZ_ERR_INVALID_ARG &&
                           (facts.nullStatus != OBZ_OK || facts.name == "interpose" || facts.name == "claim" ||
                            facts.name == "supports_fitype");
    if (hasStatus) names = (areAll ? "all" : names) + " (" + std::to_string(facts.nullStatus) + ")";
    std::string needs;
    for (const std::string& part : {names, lists, others}) {
        if (!part.empty()) needs += (needs.empty() ? "" : "; ") + part;
    }
    return needs.empty() ? "-" : needs;
}

TEST_F(HostInterfaceTables, NameEverythingThatACallNeeds)
{
    for (const auto& [name, row] : tables) {
        EXPECT_EQ(row.needs, needsOf(factsOf(name), header.at(name))) << name;
    }
    CWords words = argumentsOf("process_providerstate");
    for (const int64_t operation : {-1, 2, 77}) {
        argument("process_providerstate", words, "operation") = static_cast<uint64_t>(operation);
        EXPECT_EQ(call("process_providerstate", words), OBZ_ERR_INVALID_ARG) << operation;
    }
}

TEST_F(HostInterfaceTables, NeedNoListWhereTheCountIsNotAboveZero)
{
    for (const auto& [name, row] : tables) {
        if (row.needs.find("when the count is above 0") == std::string::npos) continue;
        CWords words = argumentsOf(name);
        argument(name, words, name == "set_restorepaths" ? "paths" : "nodes") = 0;
        EXPECT_NE(call(name, words), factsOf(name).defaultStatus + (typeOf(name).hasResult ? 0 : 1)) << name;
        for (const int64_t count : {0, -1}) {
            argument(name, words, "count") = static_cast<uint64_t>(count);
            EXPECT_EQ(call(name, words), factsOf(name).defaultStatus) << name << " " << count;
        }
    }
}

TEST_F(HostInterfaceTables, TellTheStatusOfEveryCall)
{
    for (const auto& [name, row] : tables) {
        const int32_t status = factsOf(name).defaultStatus;
        if (row.status == OBZ_USE_SESSION) {
            EXPECT_EQ(status, name == "make" ? OBZ_ERR_UNSUPPORTED : OBZ_OK) << name << " goes through the session";
        } else if (name != "objctl") {  // where the operation's status is an output
            EXPECT_EQ(status, row.status) << name;
        }
        if (name == "fini") continue;
        const CWords words = argumentsOf(name);
        EXPECT_EQ(call(name, words), status) << name;
        freeOutputs(typeOf(name), words);
    }
}

/// Cells that tell what comes out in words; the tests below are about these.
const std::set<std::string> TOLD_IN_WORDS = {"init",
                                             "config",
                                             "errmsg",
                                             "get_last_error",
                                             "get_locale_message",
                                             "supports_fitype",
                                             "process_providerstate",
                                             "check_node_existence",
                                             "update_snapshot_handle",
                                             "objctl"};

TEST_F(HostInterfaceTables, TellTheOutputsOfEveryCall)
{
    for (const auto& [name, row] : tables) {
        const bool isInWords = !std::regex_match(row.outputs, std::regex("-|(null|\\d)(, (null|\\d))*"));
        EXPECT_EQ(isInWords, TOLD_IN_WORDS.count(name) != 0) << name << ": " << row.outputs;
        if (name == "fini" || isInWords) continue;
        const CWords words = argumentsOf(name);
        call(name, words);
        EXPECT_EQ(outputsOf(name, words), row.outputs) << name;
    }
}

TEST_F(HostInterfaceTables, TellWhatComesOutOfDescriptionsAndErrors)
{
    EXPECT_EQ(tables.at("init").outputs, "version record");
    obz_version version;
    memset(&version, RUBBISH, sizeof version);
    provider.get<obzx_fi_init_fn>("init")(nullptr, &version, nullptr);
    EXPECT_EQ(version.version, OBZ_INTERFACE_VERSION);

    EXPECT_EQ(tables.at("config").outputs, "the described configuration values");
    EXPECT_EQ(tables.at("errmsg").outputs, "the text of the code, or null");
    EXPECT_EQ(tables.at("get_last_error").outputs, "the newest message, or null");
    for (const char* const name : {"config", "errmsg", "get_last_error"}) {  // none of which this provider has
        const CWords words = argumentsOf(name);
        call(name, words);
        EXPECT_EQ(outputsOf(name, words), "null") << name;
    }

    EXPECT_EQ(tables.at("get_locale_message").outputs, "the message's text");
    obz_msg_info message = {};
    char id[] = "KEY";
    message.id = id;
    char* text = nullptr;
    provider.get<obzx_fi_get_locale_message_fn>("get_locale_message")(&message, nullptr, &text);
    EXPECT_STREQ(text, "KEY");
    provider.get<obzx_fi_del_locale_message_fn>("del_locale_message")(text);
}

TEST_F(HostInterfaceTables, TellWhatComesOutOfNodes)
{
    EXPECT_EQ(tables.at("supports_fitype").outputs, "access value 0");
    obz_domain* const node = objects.domain("node");
    *node->access = RUBBISH;
    provider.get<obzx_fi_supports_fitype_fn>("supports_fitype")(node, "any");
    EXPECT_EQ(*node->access, 0);

    EXPECT_EQ(tables.at("process_providerstate").outputs, "an empty blob for OBZ_STATE_GET");
    obz_blob blob;
    memset(&blob, RUBBISH, sizeof blob);
    provider.get<obzx_fi_process_providerstate_fn>("process_providerstate")(node, &blob, OBZ_STATE_GET);
    EXPECT_EQ(blob.data, nullptr);
    EXPECT_EQ(blob.size, 0u);

    EXPECT_EQ(tables.at("check_node_existence").outputs, "1 when the node has private data, else 0");
    int32_t exists = RUBBISH;
    auto* const check = provider.get<obzx_fi_check_node_existence_fn>("check_node_existence");
    check(node, &exists);
    EXPECT_EQ(exists, 0);
    node->private_data = &exists;
    check(node, &exists);
    EXPECT_EQ(exists, 1);
    node->private_data = nullptr;
}

TEST_F(HostInterfaceTables, TellWhatComesOutOfSessionsAndControl)
{
    EXPECT_EQ(tables.at("update_snapshot_handle").outputs, "every node that is made and was not handed out before");
    obz_snaphandle handle;
    memset(&handle, RUBBISH, sizeof handle);
    provider.get<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")("session", &handle);
    EXPECT_EQ(handle.entries, nullptr) << "nothing is made";
    EXPECT_EQ(handle.count, 0);

    EXPECT_EQ(tables.at("objctl").outputs, "a reply without outputs; status 5, while the function returns 0");
    EXPECT_EQ(tables.at("objctl").status, OBZ_ERR_UNSUPPORTED);
    char* reply = nullptr;
    int64_t status = RUBBISH;
    EXPECT_EQ(provider.get<obzx_fi_objctl_fn>("objctl")("object", nullptr, &reply, &status), OBZ_OK);
    EXPECT_EQ(status, OBZ_ERR_UNSUPPORTED);
    EXPECT_STREQ(reply, "<OBJCTL_ARG_LIST> </OBJCTL_ARG_LIST> ");
    free(reply);
}

}  // namespace
}  // namespace pdktest
