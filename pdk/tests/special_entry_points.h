#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/tests/test_root.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/tests/host_objects.h"
#include "pdk/tests/loaded_provider.h"
#include "pdk/tests/testfi/testfi_record.h"

namespace pdktest {

/// A provider that answers as the record says, for calls of the entry points that do more than pass arguments on.
class SpecialEntryPoints : public ::testing::Test
{
  protected:
    /// A list of split nodes by name.
    std::vector<obz_splitnode*> list(const std::vector<const char*>& names)
    {
        std::vector<obz_splitnode*> nodes;
        for (const char* const name : names) {
            nodes.push_back(objects.splitNode(name));
        }
        return nodes;
    }
    int32_t select(const char* session, std::vector<obz_splitnode*> nodes)
    {
        return provider.get<obzx_fi_select_fn>("select")(nullptr, session, nodes.data(),
                                                         static_cast<int32_t>(nodes.size()));
    }
    int32_t make(const char* session)
    {
        return provider.get<obzx_fi_make_fn>("make")(nullptr, session, nullptr, 0, &identities, &identityCount);
    }
    /// Names of the nodes that a session holds.
    std::vector<std::string> sessionNodes(const char* session)
    {
        obz_snaphandle handle = {};
        provider.get<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")(session, &handle);
        return record.callsOf("updateSnapshotHandle").back().texts;
    }
    std::vector<std::string> identityNames() const
    {
        std::vector<std::string> names;
        for (int32_t i = 0; i < identityCount; ++i) {
            names.emplace_back(identities[i]->name);
        }
        return names;
    }
    /// Lets makeSnapshots make the nodes of these names.
    void makeNodes(const std::vector<std::string>& names)
    {
        record.answers["make"] = OBZ_USE_SESSION;
        record.onSession = [names](obzx_pdk_4_4::CFiSession& session) {
            for (const std::string& name : names) {
                session.update(name, [](obzx_pdk_4_4::CFiSplitNode& node) { node.m_makeDone = 1; });
            }
        };
    }

    base_test::CTestRoot root;
    testfi::STestRecord record;
    CHostObjects objects;
    CLoadedProvider provider{providerPath("testfi"), "testfi"};
    obzx_objid** identities = nullptr;
    int32_t identityCount = -1;
};

}  // namespace pdktest
