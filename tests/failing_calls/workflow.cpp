#include "tests/failing_calls/workflow.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>

#include "tests/failing_calls/failing_calls.h"

namespace {

constexpr std::initializer_list<int32_t> GATED = {OBZ_OK, OBZ_ERR_DELAYED_INIT, OBZ_ERR_FAILED};
constexpr std::initializer_list<int32_t> REFUSED = {OBZ_ERR_INVALID_ARG, OBZ_ERR_DELAYED_INIT, OBZ_ERR_FAILED};
constexpr std::initializer_list<int32_t> UNGATED = {OBZ_OK, OBZ_ERR_FAILED};

constexpr const char* NODE = "<cdpfi>S1";
constexpr const char* SESSION = "session";

std::string targetName()
{
    return "<cdpfi><DeviceID>S1<DeviceID/><Annotation>KSV_Check_Point_" + std::to_string(getpid()) + "<Annotation/>";
}

std::string state(const std::string& checkPoint, const std::string& timeImage)
{
    return "<ApplianceType>Lumora</ApplianceType>\n<ApplianceName>server1</ApplianceName>\n"
           "<ConsistencyGroup>cg1</ConsistencyGroup>\n<TimeImage>" +
           timeImage + "</TimeImage>\n<CheckPointName>" + checkPoint + "</CheckPointName>\n<SerialNo>S1</SerialNo>\n";
}

bool isNamed(const obzx_objid* identity, const std::string& name)
{
    return identity != nullptr && identity->name != nullptr && name == identity->name;
}

/// Follows the runs of a workflow. Needs no memory.
class CRunPairs
{
  public:
    CRunPairs() { obzx_set_run_observer(follow, this); }
    ~CRunPairs() { obzx_set_run_observer(nullptr, nullptr); }
    CRunPairs(const CRunPairs&) = delete;
    CRunPairs& operator=(const CRunPairs&) = delete;

    bool areWhole() const { return m_areWhole && m_open == COpen{}; }

  private:
    static void follow(void* context, const obzx_run* run)
    {
        auto* const pairs = static_cast<CRunPairs*>(context);
        const bool isStart = run->phase == OBZX_RUN_STARTED;
        // Several may be under way. A run without a program has an end only.
        const auto place = pairs->placeOf(isStart ? NONE : run->number);
        const bool isKnown = place != pairs->m_open.end();
        const bool follows = isStart || run->process != 0 ? isKnown : !isKnown;
        pairs->m_areWhole = pairs->m_areWhole && follows && *run->entry_point != '\0' && run->argument_count > 0;
        if (isKnown) *place = isStart ? run->number : NONE;
    }
    using COpen = std::array<uint64_t, 64>;
    COpen::iterator placeOf(uint64_t number) { return std::find(m_open.begin(), m_open.end(), number); }

    static constexpr uint64_t NONE = 0;
    COpen m_open{};  // numbers of the runs whose end is to come
    bool m_areWhole = true;
};

}  // namespace

CProviderLibrary::CProviderLibrary(const std::string& path, std::string name)
    : m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)), m_prefix(std::move(name) + "_fi_pgn_")
{
    if (m_library == nullptr) throw std::runtime_error(dlerror());
}

void* CProviderLibrary::find(const char* name) const
{
    // Without memory of the heap: the look-up is the host's, not what is made to fail.
    char symbol[128] = {};
    std::copy_n(m_prefix.data(), m_prefix.size(), symbol);
    std::copy_n(name, std::char_traits<char>::length(name), symbol + m_prefix.size());
    return dlsym(m_library, symbol);
}

// A step as a C program calls it: an exception that leaves the entry point ends the process.
template <class Call>
int32_t CWorkflow::step(const char* name, std::initializer_list<int32_t> documented, const Call& call)
{
    const int32_t status = [&]() noexcept -> int32_t {
        const failing_calls::CWatched watched;
        return call();
    }();
    if (status != *documented.begin()) m_succeeded = false;
    if (std::find(documented.begin(), documented.end(), status) == documented.end()) {
        m_complaints.push_back(std::string(name) + " gave " + std::to_string(status));
    }
    return status;
}

void CWorkflow::expect(bool holds, const char* what)
{
    if (!holds) m_complaints.emplace_back(what);
}

void CWorkflow::run()
{
    const CRunPairs runs;
    if (start()) {
        describe();
        look();
        obz_domain node{};
        node.identity = obzx_get_objid(NODE, 0, OBZ_OBJID_TYPE_DEVICE);
        snapshot(node);
        import(node);
        dispose(node);
        takeDown(node);
        errors();
    }
    step("fini", {OBZ_OK}, [&] {
        m_library.entry<obzx_fi_fini_fn>("fini")();
        return OBZ_OK;
    });
    expect(runs.areWhole(), "every run that starts has one end, within an entry point");
}

bool CWorkflow::start()
{
    static obz_context context{};
    obz_version version{};
    const int32_t status = step("init", {OBZ_OK, OBZ_ERR_INIT},
                                [&] { return m_library.entry<obzx_fi_init_fn>("init")(&context, &version, nullptr); });
    expect(version.version == OBZ_INTERFACE_VERSION, "init fills the version record");
    return status == OBZ_OK;
}

void CWorkflow::describe()
{
    obz_provider_list* provider = nullptr;
    step("get_provider_info", UNGATED,
         [&] { return m_library.entry<obzx_fi_get_provider_info_fn>("get_provider_info")(&provider); });
    expect(provider == nullptr || std::string(provider->name) == "cdpfi", "a provider record is whole");
    obzx_free_provider_list(provider);
    obz_fim_list* fims = nullptr;
    step("enumerate_fims", UNGATED,
         [&] { return m_library.entry<obzx_fi_enumerate_fims_fn>("enumerate_fims")(&fims); });
    expect(fims == nullptr || std::string(fims->name) == "Lumora", "a method record is whole");
    obzx_free_fim_list(fims);
    obz_domain node{};
    obz_confspec* parameters = nullptr;
    step("config", GATED,
         [&] { return m_library.entry<obzx_fi_config_fn>("config")(&node, nullptr, nullptr, &parameters); });
    for (const obz_confspec* entry = parameters; entry != nullptr; entry = entry->next) {
        expect(entry->name != nullptr && entry->name[0] != '\0', "a parameter record is whole");
    }
    obzx_free_confspec(parameters);
}

void CWorkflow::look()
{
    obz_domain device{};
    int32_t access = 0;
    device.access = &access;
    device.identity = obzx_get_objid("/dev/sdb", 0, OBZ_OBJID_TYPE_DEVICE);
    obzx_objid* interposed = nullptr;
    obzx_objid** groups = nullptr;
    int32_t count = 0;
    const int32_t answer = step("interpose", {1, 0}, [&] {
        return m_library.entry<obzx_fi_interpose_fn>("interpose")(&device, &interposed, &groups, &count);
    });
    // The count stands also when there was no memory for the list.
    const bool complete = isNamed(interposed, NODE) && count == 1 && (groups == nullptr || isNamed(groups[0], "cg1"));
    const bool none = interposed == nullptr && groups == nullptr && count == 0;
    expect(answer == 1 ? complete : none, "interpose names node and group, or nothing");
    obzx_free_objid(interposed);
    obzx_free_objid_array(groups, count);
    obzx_objid* const primary = obzx_get_objid(NODE, 0, OBZ_OBJID_TYPE_DEVICE);
    obzx_objid** secondaries = nullptr;
    step("claim", {OBZ_CLAIM_SECONDARY, OBZ_CLAIM_NONE},
         [&] { return m_library.entry<obzx_fi_claim_fn>("claim")(primary, &secondaries, &count); });
    obzx_free_objid(primary);
    step("supports_fitype", {1, 0},
         [&] { return m_library.entry<obzx_fi_supports_fitype_fn>("supports_fitype")(&device, "any"); });
    obzx_free_objid(device.identity);
}

void CWorkflow::snapshot(obz_domain& node)
{
    const int32_t status = step("init_node", GATED, [&] {
        return m_library.entry<obzx_fi_init_node_fn>("init_node")(&node, nullptr, 0, nullptr);
    });
    expect((status == OBZ_OK) == (node.combos != nullptr), "a node is set up whole or not at all");
    obz_splitnode split{nullptr, &node};
    // A node that could not be set up has no name, so a list with it is refused.
    const std::initializer_list<int32_t> nodes = node.name == nullptr ? REFUSED : GATED;
    step("select", nodes, [&] { return m_library.entry<obzx_fi_select_fn>("select")(&split, SESSION, nullptr, 0); });
    step("prepare", nodes,
         [&] { return m_library.entry<obzx_fi_prepare_fn>("prepare")(&split, SESSION, nullptr, 0, 0); });
    make(split);
    handOut();
}

void CWorkflow::make(obz_splitnode& split)
{
    obzx_objid** identities = nullptr;
    int32_t count = 0;
    const int32_t status = step("make", split.node->name == nullptr ? REFUSED : GATED, [&] {
        return m_library.entry<obzx_fi_make_fn>("make")(&split, SESSION, nullptr, 0, &identities, &count);
    });
    expect((identities == nullptr) == (count == 0), "make gives an array and its count, or neither");
    // A node that was never selected is no part of the session, whose snapshot then holds nothing.
    for (int32_t i = 0; i < count; ++i) {
        expect(isNamed(identities[i], NODE), "make names the node that was made");
    }
    if (status == OBZ_OK && m_succeeded) expect(count == 1, "make names every node that was made");
    obzx_free_objid_array(identities, count);
}

void CWorkflow::handOut()
{
    obz_snaphandle handle{};
    const int32_t status = step("update_snapshot_handle", GATED, [&] {
        return m_library.entry<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")(SESSION, &handle);
    });
    for (int32_t i = 0; i < handle.count; ++i) {
        const obz_snaphandle_entry& entry = handle.entries[i];
        expect(entry.node != nullptr && std::string(entry.node) == NODE, "a handle's entry names the node");
        expect(entry.target != nullptr && entry.target == targetName(), "a handle's entry names the copy");
    }
    expect(status == OBZ_OK || handle.count == 0, "a handle that could not be filled is empty");
    if (m_succeeded) expect(handle.count == 1, "a handle holds every node that was made");
    obzx_free_snaphandle(&handle);
}

void CWorkflow::import(obz_domain& node)
{
    obz_domain target{};
    target.identity = obzx_get_objid(targetName().c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
    obzx_objid* const first = target.identity;
    step("init_altnode", GATED,
         [&] { return m_library.entry<obzx_fi_init_altnode_fn>("init_altnode")(&node, nullptr, &target); });
    if (putTimeImage(node)) deliver(node, target);
    if (target.identity != first) obzx_free_objid(first);
    takeDown(target);
}

bool CWorkflow::putTimeImage(obz_domain& node)
{
    const auto process = [&](obz_blob& blob, obz_op_providerstate operation) {
        return step("process_providerstate", {OBZ_OK, OBZ_ERR_DELAYED_INIT, OBZ_ERR_INVALID_ARG, OBZ_ERR_FAILED}, [&] {
            return m_library.entry<obzx_fi_process_providerstate_fn>("process_providerstate")(&node, &blob, operation);
        });
    };
    const std::string pid = std::to_string(getpid());
    obz_blob blob{};
    const int32_t read = process(blob, OBZ_STATE_GET);
    expect((read == OBZ_OK) == (blob.data != nullptr), "a state comes out whole or not at all");
    if (read != OBZ_OK) return false;
    const std::string found(static_cast<const char*>(blob.data));
    obzx_free_buf(blob.data, blob.size);
    if (m_succeeded) expect(found == state("KSV_Check_Point_" + pid, ""), "a state holds what the provider knows");
    std::string changed = state("KSV_Check_Point_" + pid, "KSV_Time_Image_" + pid);
    blob = {changed.size() + 1, changed.data(), OBZ_ENCODING_STRING};
    return process(blob, OBZ_STATE_SET) == OBZ_OK;
}

void CWorkflow::deliver(obz_domain& node, obz_domain& target)
{
    const std::string before = target.identity->name;
    const int32_t status = step("init_altnode", GATED, [&] {
        return m_library.entry<obzx_fi_init_altnode_fn>("init_altnode")(&node, nullptr, &target);
    });
    const std::string path = status == OBZ_OK ? "/dev/image" : before;
    expect(isNamed(target.identity, path), "an import gives the device path, or leaves the target as it was");
}

void CWorkflow::dispose(obz_domain& node)
{
    obz_domain copy{};
    copy.identity = obzx_get_objid(targetName().c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
    step("dispose", GATED,
         [&] { return m_library.entry<obzx_fi_dispose_fn>("dispose")(&node, &copy, nullptr, OBZ_DISP_REMOVE); });
    obzx_free_objid(copy.identity);
}

void CWorkflow::takeDown(obz_domain& node)
{
    step("deinit_node", {OBZ_OK}, [&] {
        m_library.entry<obzx_fi_deinit_node_fn>("deinit_node")(&node);
        return OBZ_OK;
    });
    expect(node.combos == nullptr, "a node that was taken down has no combinations");
    obzx_free_objid(node.identity);
}

void CWorkflow::errors()
{
    char* text = nullptr;
    step("errmsg", UNGATED, [&] { return m_library.entry<obzx_fi_errmsg_fn>("errmsg")(6012, &text); });
    freeText(text);
    obz_msg_info* message = nullptr;
    step("get_last_error", UNGATED,
         [&] { return m_library.entry<obzx_fi_get_last_error_fn>("get_last_error")(&message); });
    if (message == nullptr) return;
    text = nullptr;
    step("get_locale_message", UNGATED,
         [&] { return m_library.entry<obzx_fi_get_locale_message_fn>("get_locale_message")(message, "de", &text); });
    freeText(text);
    step("del_last_error", UNGATED,
         [&] { return m_library.entry<obzx_fi_del_last_error_fn>("del_last_error")(message); });
}

void CWorkflow::freeText(char* text)
{
    if (text == nullptr) return;
    step("del_locale_message", UNGATED,
         [&] { return m_library.entry<obzx_fi_del_locale_message_fn>("del_locale_message")(text); });
}
