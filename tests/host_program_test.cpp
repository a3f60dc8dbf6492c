// A host program that keeps the plug-in loaded: what one process does more than once.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include "base/tests/environment_value.h"
#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_runtime.h"
#include "tests/site.h"

namespace {

// The site's tools in a folder of the production host, where a test can take one away.
std::filesystem::path moveTools(const CSite& site)
{
    const std::filesystem::path tools = site.root("production") / "tools";
    std::filesystem::create_directory(tools);
    for (const char* name : {"lmsh", "kforutil"}) {
        std::filesystem::create_symlink(std::filesystem::path(CDPFI_BIN_DIR) / name, tools / name);
    }
    const SRun done = site.lmadm({"host", "setup", "--root", site.root("production").string(), "--host", "production",
                                  "--tools", tools.string()});
    EXPECT_EQ(done.status, 0) << done.err;
    return tools;
}

// The plug-in in this process, on the site's production host.
class CHost
{
  public:
    using MessageWork = std::function<void(CHost&)>;

    /// @param whenTold what the host does about each message
    explicit CHost(const CSite& site, MessageWork whenTold = {})
        : m_whenTold(std::move(whenTold)), m_root("OBZX_ROOT", site.root("production"))
    {
        obzx_set_trace_observer(&CHost::onTrace, this, 1);
        m_context.callback = &CHost::onMessage;
        m_context.user = this;
        m_library = dlopen(CDPFI_PROVIDER, RTLD_NOW | RTLD_LOCAL);
        obz_version version{};
        initStatus = m_library == nullptr ? -1 : entry<obzx_fi_init_fn>("init")(&m_context, &version, nullptr);
    }
    ~CHost()
    {
        obzx_set_trace_observer(nullptr, nullptr, 0);
        if (m_library == nullptr) return;
        entry<obzx_fi_fini_fn>("fini")();
        dlclose(m_library);
    }
    CHost(const CHost&) = delete;
    CHost& operator=(const CHost&) = delete;

    template <class Function>
    Function* entry(const std::string& name) const
    {
        return reinterpret_cast<Function*>(dlsym(m_library, ("cdpfi_fi_pgn_" + name).c_str()));
    }

    int32_t initStatus = -1;
    std::vector<std::string> failures;  // lines of level 1
    std::vector<std::string> messages;
    obz_context* context() { return &m_context; }

  private:
    static void onTrace(void* user, int32_t, const char*, const char* text)
    {
        static_cast<CHost*>(user)->failures.emplace_back(text);
    }
    static void onMessage(obz_context* context, const char*, const char* text, obz_eseverity)
    {
        auto* const host = static_cast<CHost*>(context->user);
        host->messages.emplace_back(text);
        if (host->m_whenTold) host->m_whenTold(*host);
    }

    const MessageWork m_whenTold;
    const base_test::CEnvironmentValue m_root;
    obz_context m_context{};
    void* m_library = nullptr;
};

// An interposed node that was set up for a snapshot.
class CNode
{
  public:
    CNode(const CHost& host, const std::string& name) : m_host(host)
    {
        m_domain.identity = obzx_get_objid(name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
        initStatus = host.entry<obzx_fi_init_node_fn>("init_node")(&m_domain, nullptr, 0, nullptr);
        m_split.node = &m_domain;
    }
    ~CNode()
    {
        m_host.entry<obzx_fi_deinit_node_fn>("deinit_node")(&m_domain);
        obzx_free_objid(m_domain.identity);
    }
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;

    obz_splitnode* split() { return &m_split; }
    obz_domain* domain() const { return m_split.node; }

    int32_t initStatus = -1;

  private:
    const CHost& m_host;
    obz_domain m_domain{};
    obz_splitnode m_split{};
};

// Takes the newest message off the error stack: its key and its text in a language; empty when there is none.
std::string takeNewest(const CHost& host, const char* locale)
{
    obz_msg_info* message = nullptr;
    EXPECT_EQ(host.entry<obzx_fi_get_last_error_fn>("get_last_error")(&message), OBZ_OK);
    if (message == nullptr) return {};
    char* text = nullptr;
    EXPECT_EQ(host.entry<obzx_fi_get_locale_message_fn>("get_locale_message")(message, locale, &text), OBZ_OK);
    const std::string taken = std::string(message->id) + ": " + text;
    EXPECT_EQ(host.entry<obzx_fi_del_locale_message_fn>("del_locale_message")(text), OBZ_OK);
    EXPECT_EQ(host.entry<obzx_fi_del_last_error_fn>("del_last_error")(message), OBZ_OK);
    return taken;
}

/// A host program on a site with one LUN, "data" of the group "payroll" on the appliance "vault".
class HostProgram : public testing::Test
{
  protected:
    HostProgram()
    {
        m_site.addGroup("vault", "payroll", {"data"});
        m_site.setUpHosts();
    }
    ~HostProgram() override
    {
        if (m_copy.identity == nullptr) return;
        m_host->entry<obzx_fi_deinit_node_fn>("deinit_node")(&m_copy);
        obzx_free_objid(m_copy.identity);
    }

    /// The plug-in loaded and the LUN's node set up.
    void start()
    {
        m_host.emplace(m_site);
        ASSERT_EQ(m_host->initStatus, OBZ_OK);
        m_serial = m_site.serial("vault", "data");
        m_node.emplace(*m_host, "<cdpfi>" + m_serial);
        ASSERT_EQ(m_node->initStatus, OBZ_OK);
    }

    int32_t makeSnapshot(const char* session, int32_t& made)
    {
        obz_splitnode* const split = m_node->split();
        EXPECT_EQ(m_host->entry<obzx_fi_select_fn>("select")(split, session, nullptr, 0), OBZ_OK);
        EXPECT_EQ(m_host->entry<obzx_fi_prepare_fn>("prepare")(split, session, nullptr, 0, 0), OBZ_OK);
        obzx_objid** identities = nullptr;
        const int32_t status = m_host->entry<obzx_fi_make_fn>("make")(split, session, nullptr, 0, &identities, &made);
        obzx_free_objid_array(identities, made);
        return status;
    }

    /// A snapshot, and the node of its copy, m_copy.
    void takeCopy()
    {
        int32_t made = 0;
        ASSERT_EQ(makeSnapshot("session", made), OBZ_OK);
        m_target = targetOf(getpid());
        m_copy.identity = obzx_get_objid(m_target.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
    }

    /// Name of the copy that a process took.
    std::string targetOf(pid_t process) const
    {
        return "<cdpfi><DeviceID>" + m_serial + "<DeviceID/><Annotation>KSV_Check_Point_" + std::to_string(process) +
               "<Annotation/>";
    }

    /// A process of its own that takes a copy and makes its time image; its id.
    pid_t runProcessThatMakesAnImage()
    {
        std::fflush(nullptr);  // what waits to be written is not written by both
        const pid_t other = fork();
        if (other == 0) {
            start();
            if (!HasFailure()) takeCopy();
            if (!HasFailure()) {
                EXPECT_EQ(import(), OBZ_OK);
            }
            std::fflush(nullptr);
            _exit(HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        }
        int status = -1;
        EXPECT_EQ(waitpid(other, &status, 0), other);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS) << status;
        return other;
    }

    /// The copy of the data that another process's time image shows, imported under a name.
    void importImageOf(pid_t process, const std::string& name)
    {
        ASSERT_NO_FATAL_FAILURE(start());
        ASSERT_NO_FATAL_FAILURE(nameTimeImage(process));
        obzx_objid* const offered = obzx_get_objid(name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
        m_copy.identity = offered;
        ASSERT_EQ(import(), OBZ_OK);
        ASSERT_NE(m_copy.identity, offered);
        obzx_free_objid(offered);  // who offers an identity frees it when another one takes its place
        EXPECT_NE(m_copy.identity->name, name) << "the path that shows the image";
        EXPECT_EQ(contentOf(m_copy.identity->name), m_before);
        EXPECT_NE(contentOf(m_site.device("vault", "data")), m_before);
    }

    /// Data, a copy of it that another process makes, and other data after that.
    pid_t writeCopyAndOverwrite()
    {
        m_site.write("vault", "data", "before");
        m_before = contentOf(m_site.device("vault", "data"));
        m_serial = m_site.serial("vault", "data");
        const pid_t other = runProcessThatMakesAnImage();
        m_site.write("vault", "data", "after");
        return other;
    }

    int32_t dispose()
    {
        return m_host->entry<obzx_fi_dispose_fn>("dispose")(node(), &m_copy, nullptr, OBZ_DISP_REMOVE);
    }
    int32_t import() { return m_host->entry<obzx_fi_init_altnode_fn>("init_altnode")(node(), nullptr, &m_copy); }

    /// Names the copy's time image in the node's state, as a host does between the two calls of an import.
    void nameTimeImage(pid_t maker = getpid()) const
    {
        auto* const processState = m_host->entry<obzx_fi_process_providerstate_fn>("process_providerstate");
        obz_blob blob{};
        ASSERT_EQ(processState(node(), &blob, OBZ_STATE_GET), OBZ_OK);
        std::string state(static_cast<const char*>(blob.data));
        obzx_free_buf(blob.data, blob.size);
        state.replace(state.find("</TimeImage>"), 0, "KSV_Time_Image_" + std::to_string(maker));
        blob = {state.size() + 1, state.data(), OBZ_ENCODING_STRING};
        ASSERT_EQ(processState(node(), &blob, OBZ_STATE_SET), OBZ_OK);
    }

    obz_domain* node() const { return m_node->domain(); }

    CSite m_site;
    std::optional<CHost> m_host;
    std::optional<CNode> m_node;
    std::string m_serial;
    std::string m_target;
    std::string m_before;
    obz_domain m_copy{};
};

}  // namespace

TEST_F(HostProgram, SecondSnapshotOfTheSameGroupByOneProcessIsRefusedByTheApplianceAndReportedAsSuch)
{
    ASSERT_NO_FATAL_FAILURE(start());

    int32_t made = 0;
    EXPECT_EQ(makeSnapshot("first", made), OBZ_OK);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(makeSnapshot("second", made), OBZ_ERR_FAILED);
    EXPECT_EQ(made, 0);

    ASSERT_FALSE(m_host->failures.empty());
    EXPECT_EQ(m_host->failures.back(),
              "CCDPPlugin::makeSnapshots - failed to create annotation for consistency group [payroll].");
    const std::vector<std::string> copies = m_site.copiesOf("vault", "payroll");
    ASSERT_EQ(copies.size(), 1u);
    EXPECT_NE(copies.front().find("KSV_Check_Point_" + std::to_string(getpid())), std::string::npos);
}

TEST_F(HostProgram, ProcessImportsTheTimeImageThatAnotherOneMadeByTheNameOfTheCopy)
{
    const pid_t other = writeCopyAndOverwrite();
    importImageOf(other, targetOf(other));
}

TEST_F(HostProgram, ProcessImportsTheTimeImageThatAnotherOneMadeByADevicePath)
{
    const pid_t other = writeCopyAndOverwrite();
    importImageOf(other, m_site.device("vault", "data"));
}

TEST_F(HostProgram, TimeImageOfTheStateThatIsGoneFailsTheImport)
{
    const pid_t other = writeCopyAndOverwrite();
    const std::string image = "KSV_Time_Image_" + std::to_string(other);
    ASSERT_EQ(m_site.lmsh("production", "vault", "delete timeimage \"" + image + "\" \"payroll\"").status, 0);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(nameTimeImage(other));
    m_copy.identity = obzx_get_objid(targetOf(other).c_str(), 0, OBZ_OBJID_TYPE_DEVICE);

    EXPECT_EQ(import(), OBZ_ERR_FAILED);

    ASSERT_FALSE(m_host->failures.empty());
    EXPECT_EQ(m_host->failures.back(),
              "CCDPPlugin::initAltNode- Could not create time image for consistency group [payroll]");
    EXPECT_EQ(m_copy.identity->name, targetOf(other));
}

TEST_F(HostProgram, DisposingTwiceIsNoError)
{
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(takeCopy());

    EXPECT_EQ(dispose(), OBZ_OK);
    EXPECT_TRUE(m_site.copiesOf("vault", "payroll").empty());
    EXPECT_EQ(dispose(), OBZ_OK);
}

TEST_F(HostProgram, InitAfterFiniReadsTheConfigurationAgain)
{
    const CHost host(m_site);
    ASSERT_EQ(host.initStatus, OBZ_OK);
    host.entry<obzx_fi_fini_fn>("fini")();
    m_site.addGroup("annex", "late", {"extra"});
    m_site.setUpHosts();

    obz_version version{};
    ASSERT_EQ(host.entry<obzx_fi_init_fn>("init")(nullptr, &version, nullptr), OBZ_OK);

    CNode node(host, "<cdpfi>" + m_site.serial("annex", "extra"));
    EXPECT_EQ(node.initStatus, OBZ_OK);
}

TEST_F(HostProgram, DiskListingThatFailsEndsTheStartAndNamesTheTool)
{
    const std::filesystem::path tools = moveTools(m_site);
    std::filesystem::remove(tools / "kforutil");

    const CHost host(m_site);

    EXPECT_EQ(host.initStatus, OBZ_ERR_INIT);
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_NE(host.messages.front().find((tools / "kforutil").string()), std::string::npos) << host.messages.front();
}

TEST_F(HostProgram, ReadsTheErrorStackNewestFirstInAnyLanguage)
{
    std::filesystem::remove(moveTools(m_site) / "kforutil");
    const CHost host(m_site);
    ASSERT_EQ(host.initStatus, OBZ_ERR_INIT);

    EXPECT_EQ(
        takeNewest(host, "de"),
        "MSG_ERROR_INITIALIZATION_FAILED: Der CDP-Provider konnte nicht initialisiert werden. Den Grund nennt die "
        "Protokolldatei des Providers.");
    const std::string cause = takeNewest(host, "xx_YY");
    EXPECT_EQ(cause, "MSG_ERROR_DISK_LISTING_FAILED: " + host.messages.front()) << "an unknown language reads English";
    EXPECT_EQ(takeNewest(host, nullptr), "") << "nothing is left";

    char text[] = "not touched";
    char* none = text;
    EXPECT_EQ(host.entry<obzx_fi_errmsg_fn>("errmsg")(OBZ_ERR_INIT, &none), OBZ_OK);
    EXPECT_EQ(none, nullptr) << "a code without a text";
}

TEST_F(HostProgram, DiskListingThatFailsInAnImportGivesFailedAndLeavesTheTarget)
{
    const std::filesystem::path tools = moveTools(m_site);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(takeCopy());
    ASSERT_EQ(import(), OBZ_OK);
    ASSERT_NO_FATAL_FAILURE(nameTimeImage());
    std::filesystem::remove(tools / "kforutil");

    EXPECT_EQ(import(), OBZ_ERR_FAILED);

    EXPECT_STREQ(m_copy.identity->name, m_target.c_str());
    ASSERT_FALSE(m_host->failures.empty());
    EXPECT_EQ(m_host->failures.back(), "initAltNode(): Unhandled execption encountered, exiting the function");
}
// The shell's answers take so long that a call lasts.
void slowDown(const CSite& site)
{
    site.replaceShell("production",
                      "#!/bin/sh\nsleep 0.3; exec " + (std::filesystem::path(CDPFI_BIN_DIR) / "lmsh").string());
}

TEST_F(HostProgram, ThreadThatIsCancelledInACallEndsAfterIt)
{
    slowDown(m_site);
    ASSERT_NO_FATAL_FAILURE(start());
    std::atomic<int32_t> status{-1};
    std::atomic<bool> isIn{false};
    bool wentOn = false;
    std::thread thread([&] {
        int32_t made = 0;
        isIn = true;
        status = makeSnapshot("session", made);
        ::pthread_testcancel();
        wentOn = true;
    });
    while (!isIn) {
        ::usleep(1000);
    }
    ::usleep(100 * 1000);
    EXPECT_EQ(status, -1) << "the call is under way";
    ::pthread_cancel(thread.native_handle());
    thread.join();
    EXPECT_EQ(status, OBZ_OK) << "the call was finished";
    EXPECT_FALSE(wentOn);
    EXPECT_EQ(m_site.copiesOf("vault", "payroll").size(), 1u);
}

TEST_F(HostProgram, InitFromAMessageCallbackReturns)
{
    std::filesystem::remove(moveTools(m_site) / "kforutil");
    std::vector<int32_t> statuses;
    const CHost host(m_site, [&statuses](CHost& told) {
        if (!statuses.empty()) return;
        statuses.push_back(-1);
        obz_version version{};
        statuses.push_back(told.entry<obzx_fi_init_fn>("init")(told.context(), &version, nullptr));
    });
    EXPECT_EQ(host.initStatus, OBZ_ERR_INIT);
    EXPECT_EQ(statuses, (std::vector<int32_t>{-1, OBZ_ERR_INIT}));
}
