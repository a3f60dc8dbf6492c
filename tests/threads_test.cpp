// One process, many threads: what a framework may issue at once, with the embedded appliance answering.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <thread>

#include "base/tests/environment_value.h"
#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_runtime.h"
#include "tests/site.h"

namespace {

constexpr int THREADS = 8;
constexpr int ROUNDS = 2;

std::string suffix()
{
    return std::to_string(getpid());
}

class Threads : public testing::TestWithParam<bool>
{
  protected:
    void start()
    {
        m_library = dlopen(CDPFI_PROVIDER, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << dlerror();
        obz_version version{};
        ASSERT_EQ(entry<obzx_fi_init_fn>("init")(&m_context, &version, nullptr), OBZ_OK);
    }
    ~Threads() override
    {
        if (m_library == nullptr) return;
        entry<obzx_fi_fini_fn>("fini")();
        dlclose(m_library);
    }

    template <class Function>
    Function* entry(const char* name) const
    {
        return reinterpret_cast<Function*>(dlsym(m_library, (std::string("cdpfi_fi_pgn_") + name).c_str()));
    }

    /// Runs a function on several threads that begin together; it is given the thread's number.
    static void runTogether(int count, const std::function<void(int)>& work)
    {
        std::barrier begin(count);
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([&, i] {
                begin.arrive_and_wait();
                work(i);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    /// The lock of a framework that serialises init_node and deinit_node; none where the test is to do without.
    std::unique_lock<std::mutex> nodeLock()
    {
        return GetParam() ? std::unique_lock<std::mutex>(m_nodes) : std::unique_lock<std::mutex>();
    }

    int32_t initNode(obz_domain& node, const std::string& name)
    {
        node.identity = obzx_get_objid(name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
        const auto lock = nodeLock();
        return entry<obzx_fi_init_node_fn>("init_node")(&node, nullptr, 0, nullptr);
    }
    void deinitNode(obz_domain& node)
    {
        {
            const auto lock = nodeLock();
            entry<obzx_fi_deinit_node_fn>("deinit_node")(&node);
        }
        obzx_free_objid(node.identity);
    }

    int32_t makeSnapshot(obz_domain& node, const std::string& session, int32_t& made) const
    {
        obz_splitnode split{nullptr, &node};
        const char* const name = session.c_str();
        EXPECT_EQ(entry<obzx_fi_select_fn>("select")(&split, name, nullptr, 0), OBZ_OK);
        EXPECT_EQ(entry<obzx_fi_prepare_fn>("prepare")(&split, name, nullptr, 0, 0), OBZ_OK);
        obzx_objid** identities = nullptr;
        const int32_t status = entry<obzx_fi_make_fn>("make")(&split, name, nullptr, 0, &identities, &made);
        obzx_free_objid_array(identities, made);
        obz_snaphandle handle{};
        EXPECT_EQ(entry<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")(name, &handle), OBZ_OK);
        EXPECT_EQ(handle.count, made);
        obzx_free_snaphandle(&handle);
        return status;
    }

    static std::string targetName(const std::string& serial)
    {
        return "<cdpfi><DeviceID>" + serial + "<DeviceID/><Annotation>KSV_Check_Point_" + suffix() + "<Annotation/>";
    }

    /// Puts the name of the time image into the node's state, as a host does between the two calls of an import.
    void putTimeImage(obz_domain& node) const
    {
        auto* const process = entry<obzx_fi_process_providerstate_fn>("process_providerstate");
        obz_blob blob{};
        ASSERT_EQ(process(&node, &blob, OBZ_STATE_GET), OBZ_OK);
        std::string state(static_cast<const char*>(blob.data));
        obzx_free_buf(blob.data, blob.size);
        state.insert(state.find("</TimeImage>"), "KSV_Time_Image_" + suffix());
        blob = {state.size() + 1, state.data(), OBZ_ENCODING_STRING};
        ASSERT_EQ(process(&node, &blob, OBZ_STATE_SET), OBZ_OK);
    }

    /// Makes the copy show, and gives its device path.
    std::string import(obz_domain& node, const std::string& serial)
    {
        obz_domain target{};
        target.identity = obzx_get_objid(targetName(serial).c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
        obzx_objid* const first = target.identity;
        auto* const import = entry<obzx_fi_init_altnode_fn>("init_altnode");
        EXPECT_EQ(import(&node, nullptr, &target), OBZ_OK);
        putTimeImage(node);
        EXPECT_EQ(import(&node, nullptr, &target), OBZ_OK);
        const std::string path = target.identity->name;
        if (target.identity != first) obzx_free_objid(first);
        deinitNode(target);
        return path;
    }

    void dispose(obz_domain& node, const std::string& serial) const
    {
        obz_domain copy{};
        copy.identity = obzx_get_objid(targetName(serial).c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
        EXPECT_EQ(entry<obzx_fi_dispose_fn>("dispose")(&node, &copy, nullptr, OBZ_DISP_REMOVE), OBZ_OK);
        obzx_free_objid(copy.identity);
    }

    /// A snapshot's whole life, of a LUN whose group is this thread's own.
    void runWorkflow(const std::string& serial, const std::string& session, const std::string& content)
    {
        obz_domain node{};
        ASSERT_EQ(initNode(node, "<cdpfi>" + serial), OBZ_OK);
        int32_t made = 0;
        EXPECT_EQ(makeSnapshot(node, session, made), OBZ_OK);
        EXPECT_EQ(made, 1);
        EXPECT_EQ(contentOf(import(node, serial)), content);
        dispose(node, serial);
        deinitNode(node);
    }

    /// Everything that only asks, on a node of its own.
    void runQueries(const std::string& device, const std::string& serial)
    {
        obz_domain offered{};
        int32_t access = 0;
        offered.access = &access;
        offered.identity = obzx_get_objid(device.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
        obzx_objid* interposed = nullptr;
        obzx_objid** groups = nullptr;
        int32_t count = 0;
        EXPECT_EQ(entry<obzx_fi_interpose_fn>("interpose")(&offered, &interposed, &groups, &count), 1);
        obzx_objid** secondaries = nullptr;
        int32_t secondaryCount = 0;
        EXPECT_EQ(entry<obzx_fi_claim_fn>("claim")(interposed, &secondaries, &secondaryCount), OBZ_CLAIM_SECONDARY);
        EXPECT_STREQ(interposed->name, ("<cdpfi>" + serial).c_str());
        EXPECT_EQ(entry<obzx_fi_supports_fitype_fn>("supports_fitype")(&offered, "any"), 1);
        obzx_free_objid(interposed);
        obzx_free_objid_array(groups, count);
        obzx_free_objid(offered.identity);
        describe();
        askNode(serial);
    }

    void describe() const
    {
        obz_provider_list* provider = nullptr;
        EXPECT_EQ(entry<obzx_fi_get_provider_info_fn>("get_provider_info")(&provider), OBZ_OK);
        obzx_free_provider_list(provider);
        obz_fim_list* fims = nullptr;
        EXPECT_EQ(entry<obzx_fi_enumerate_fims_fn>("enumerate_fims")(&fims), OBZ_OK);
        obzx_free_fim_list(fims);
        obz_domain node{};
        obz_confspec* parameters = nullptr;
        EXPECT_EQ(entry<obzx_fi_config_fn>("config")(&node, nullptr, nullptr, &parameters), OBZ_OK);
        obzx_free_confspec(parameters);
        char* text = nullptr;
        EXPECT_EQ(entry<obzx_fi_errmsg_fn>("errmsg")(6012, &text), OBZ_OK);
        if (text != nullptr) entry<obzx_fi_del_locale_message_fn>("del_locale_message")(text);
        obz_msg_info* message = nullptr;
        EXPECT_EQ(entry<obzx_fi_get_last_error_fn>("get_last_error")(&message), OBZ_OK);
        EXPECT_EQ(message, nullptr);
    }

    void askNode(const std::string& serial)
    {
        obz_domain node{};
        ASSERT_EQ(initNode(node, "<cdpfi>" + serial), OBZ_OK);
        int32_t exists = 0;
        EXPECT_EQ(entry<obzx_fi_check_node_existence_fn>("check_node_existence")(&node, &exists), OBZ_OK);
        EXPECT_EQ(exists, 1);
        obz_splitnode split{nullptr, &node};
        int32_t ready = 0;
        EXPECT_EQ(entry<obzx_fi_isready_fn>("isready")(&split, nullptr, 0, &ready), OBZ_OK);
        obz_blob blob{};
        EXPECT_EQ(entry<obzx_fi_process_providerstate_fn>("process_providerstate")(&node, &blob, OBZ_STATE_GET),
                  OBZ_OK);
        obzx_free_buf(blob.data, blob.size);
        deinitNode(node);
    }

    CSite m_site;
    const base_test::CEnvironmentValue m_root{"OBZX_ROOT", m_site.root("production")};
    const base_test::CEnvironmentValue m_resolver{"RES_OPTIONS", "timeout:1 attempts:1"};

  private:
    void* m_library = nullptr;
    obz_context m_context{};
    std::mutex m_nodes;
};

std::string numbered(const char* name, int number)
{
    return name + std::to_string(number);
}

}  // namespace

TEST_P(Threads, RunWholeWorkflowsAndQueriesSideBySide)
{
    std::vector<std::string> serials;
    std::vector<std::string> contents;
    for (int i = 0; i < THREADS; ++i) {
        m_site.addGroup("vault", numbered("group", i), {numbered("lun", i)});
        m_site.write("vault", numbered("lun", i), numbered("content ", i));
        serials.push_back(m_site.serial("vault", numbered("lun", i)));
        contents.push_back(contentOf(m_site.device("vault", numbered("lun", i))));
    }
    const std::string device = m_site.device("vault", "lun0");
    m_site.setUpHosts();
    ASSERT_NO_FATAL_FAILURE(start());
    // Half of the threads begin with questions, so that every kind of call meets every other.
    runTogether(THREADS, [&](int number) {
        const auto index = static_cast<size_t>(number);
        for (int round = 0; round < ROUNDS; ++round) {
            if (number % 2 == 0) runQueries(device, serials[0]);
            runWorkflow(serials[index], numbered("session", number * ROUNDS + round), contents[index]);
            if (number % 2 != 0) runQueries(device, serials[0]);
        }
    });
    for (int i = 0; i < THREADS; ++i) {
        EXPECT_TRUE(m_site.copiesOf("vault", numbered("group", i)).empty());
    }
}

TEST_P(Threads, SnapshotsOfOneGroupByOneProcessGiveOneCheckpoint)
{
    std::vector<std::string> luns;
    for (int i = 0; i < THREADS; ++i) {
        luns.push_back(numbered("lun", i));
    }
    m_site.addGroup("vault", "payroll", luns);
    m_site.setUpHosts();
    std::vector<std::string> serials;
    for (const std::string& lun : luns) {
        serials.push_back(m_site.serial("vault", lun));
    }
    ASSERT_NO_FATAL_FAILURE(start());
    std::atomic<int> succeeded = 0;
    std::barrier everybodyHasTried(THREADS);
    runTogether(THREADS, [&](int number) {
        const std::string& serial = serials[static_cast<size_t>(number)];
        obz_domain node{};
        EXPECT_EQ(initNode(node, "<cdpfi>" + serial), OBZ_OK);  // one that left now would keep the others waiting
        int32_t made = 0;
        const int32_t status = makeSnapshot(node, numbered("session", number), made);
        EXPECT_TRUE(status == OBZ_OK || status == OBZ_ERR_FAILED) << status;
        if (status == OBZ_OK) {
            ++succeeded;
            EXPECT_FALSE(import(node, serial).empty());
        }
        everybodyHasTried.arrive_and_wait();
        dispose(node, serial);
        deinitNode(node);
    });
    EXPECT_EQ(succeeded, 1);
    EXPECT_TRUE(m_site.copiesOf("vault", "payroll").empty());
}

INSTANTIATE_TEST_SUITE_P(All, Threads, testing::Bool(), [](const auto& instance) {
    return instance.param ? std::string("NodesOneAtATime") : std::string("NodesAllAtOnce");
});
