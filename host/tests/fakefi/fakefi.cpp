// A provider for the tests of fictl: small, real, with faults to order (faults.h). It keeps to the host interface and
// to the names that fictl knows, and asks its appliances through a program (fakefi_tool). It never traces.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "framework/include/cfientrypoint.h"
#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_runtime.h"
#include "host/tests/fakefi/faults.h"
#include "host/tests/fakefi/store.h"
#include "host/tests/fakefi/tool_runner.h"

#define FAKE_EXPORT(op) extern "C" OBZX_API obzx_fi_##op##_fn fakefi_fi_pgn_##op

namespace {

const std::string PREFIX = "<fakefi>";
const std::string CHECKPOINT_PREFIX = "KSV_Check_Point_";
const std::string IMAGE_PREFIX = "KSV_Time_Image_";

struct SData
{
    std::string appliance, group, image, checkpoint, serial;
    SGroup groupKey() const { return {appliance, group}; }
};

struct SSession
{
    std::map<std::string, obz_domain*> nodes;
    std::map<std::string, std::string> made;  // node to target
    std::set<std::string> updated;
};

class CFake
{
  public:
    CStore store;
    CFaults faults{store, getpid()};
    CToolRunner tool{store};
    std::atomic<int> nodes = 0;  // that hold private data

    /// The session of that name; each is used by one thread at a time.
    SSession& session(const std::string& name)
    {
        const std::lock_guard guard(m_lock);
        return m_sessions[name];
    }
    /// Whether this process has made or met an image: appliance.group.image.
    bool knowsImage(const std::string& key)
    {
        const std::lock_guard guard(m_lock);
        return m_images.contains(key);
    }
    void enterImage(const std::string& key)
    {
        const std::lock_guard guard(m_lock);
        m_images.insert(key);
    }

  private:
    std::mutex m_lock;  // guards both
    std::map<std::string, SSession> m_sessions;
    std::set<std::string> m_images;
};

CFake* g_fake = nullptr;

SData& dataOf(obz_domain* node)
{
    if (node->private_data == nullptr) {
        node->private_data = new SData();
        ++g_fake->nodes;
    }
    return *static_cast<SData*>(node->private_data);
}

obzx_objid* identityOf(const std::string& name)
{
    return obzx_get_objid(name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
}

char* bufferOf(const std::string& text)
{
    char* const buffer = static_cast<char*>(obzx_alloc_buf(text.size() + 1));
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return buffer;
}

std::string between(const std::string& text, const std::string& open, const std::string& close)
{
    const size_t from = text.find(open);
    const size_t to = text.find(close);
    if (from == std::string::npos || to == std::string::npos) return {};
    return text.substr(from + open.size(), to - from - open.size());
}

std::string quoted(const std::string& name)
{
    return CToolRunner::quoted(name);
}

std::string imageOf(const std::string& checkpoint)
{
    return checkpoint.starts_with(CHECKPOINT_PREFIX) ? IMAGE_PREFIX + checkpoint.substr(CHECKPOINT_PREFIX.size()) : "";
}

// The suffix counts, whatever stands in the place of the prefix.
std::string checkpointOf(const std::string& image)
{
    return CHECKPOINT_PREFIX + image.substr(std::min(image.size(), IMAGE_PREFIX.size()));
}

bool createAnnotation(const SData& data, const std::string& name)
{
    return g_fake->tool.run(data.appliance, " create  annotation " + quoted(name) + " " + quoted(data.group) +
                                                "\n set  message  Fake \n commit ");
}

bool createImage(const SData& data, const std::string& name)
{
    return g_fake->tool.run(data.appliance, " create  timeimage " + quoted(name) + " " + quoted(data.group) +
                                                "\n use  annotation " + quoted(data.checkpoint) +
                                                "\n add  permission " + quoted(g_fake->store.hostName()) +
                                                "\n commit ");
}

// Both commands are sent whatever becomes of the first, and nobody is told of what the appliance says.
void deleteImageAndCheckpoint(const SGroup& group, const std::string& image, const std::string& checkpoint)
{
    g_fake->tool.run(group.appliance, " delete  timeimage " + quoted(image) + " " + quoted(group.name));
    g_fake->tool.run(group.appliance, " delete  annotation " + quoted(checkpoint) + " " + quoted(group.name));
}

// Logs a call that has no other effect and gives the status that a fault asks for.
int32_t step(const char* name)
{
    g_fake->store.logCall(name);
    return g_fake->faults.fails(name) ? OBZ_ERR_FAILED : OBZ_OK;
}

}  // namespace

FAKE_EXPORT(init);
int32_t fakefi_fi_pgn_init(obz_context* context, obz_version* version, const char* /*fim*/)
{
    const obzx_pdk_4_4::CFiEntryPoint place(__func__);
    g_fake = new CFake();
    g_fake->store.logCall("init");
    version->version = g_fake->faults.fails("version") ? 99 : OBZ_INTERFACE_VERSION;
    if (std::string text; g_fake->faults.fails("init", text)) {
        context->callback(context, "", text.c_str(), OBZ_SEV_ERROR);
        return OBZ_ERR_INIT;
    }
    // An appliance that does not answer now serves nothing, but the provider starts.
    for (const std::string& appliance : g_fake->store.appliances()) {
        g_fake->tool.run(appliance, " list  hosts ");
    }
    return OBZ_OK;
}

FAKE_EXPORT(fini);
void fakefi_fi_pgn_fini(void)
{
    g_fake->store.logCall("fini nodes=" + std::to_string(g_fake->nodes));
    delete g_fake;
    g_fake = nullptr;
}

FAKE_EXPORT(get_provider_info);
int32_t fakefi_fi_pgn_get_provider_info(obz_provider_list** out)
{
    const uint16_t version[4] = {7, 0, 0, 0};
    *out = obzx_build_providerlist_node("fakefi", 1, 2, version, nullptr, 0);
    return OBZ_OK;
}

FAKE_EXPORT(enumerate_fims);
int32_t fakefi_fi_pgn_enumerate_fims(obz_fim_list** out)
{
    *out = obzx_build_fim_list_node("Fake", "1.0", "fakefi");
    return OBZ_OK;
}

static char* copyOf(const char* text)
{
    auto* const copy = static_cast<char*>(obzx_alloc_buf(std::strlen(text) + 1));
    std::memcpy(copy, text, std::strlen(text) + 1);
    return copy;
}

FAKE_EXPORT(config);
int32_t fakefi_fi_pgn_config(obz_domain*, const char*, const char*, obz_confspec** out)
{
    *out = static_cast<obz_confspec*>(obzx_alloc_buf(sizeof(obz_confspec)));
    (*out)->name = copyOf("FAKE/LEVEL");
    (*out)->type = copyOf("number");
    (*out)->value = copyOf("3");
    (*out)->help = copyOf("How much is faked.");
    return OBZ_OK;
}

FAKE_EXPORT(interpose);
int32_t fakefi_fi_pgn_interpose(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* count)
{
    const obzx_pdk_4_4::CFiEntryPoint place(__func__);
    SLun lun;
    const bool isKnown = g_fake->store.find(node->identity->name, lun);
    // Only the appliance can tell what it protects; of an unknown device every one is asked.
    bool isServed = isKnown;
    for (const std::string& appliance : g_fake->store.appliances()) {
        if (isKnown && appliance != lun.appliance) continue;
        isServed = g_fake->tool.run(appliance, " list  cgroups ") && isServed;
    }
    if (!isServed) return 0;
    *interposed = identityOf(PREFIX + lun.serial);
    *groups = static_cast<obzx_objid**>(obzx_alloc_buf(sizeof(obzx_objid*)));
    (*groups)[0] = identityOf(lun.group);
    *count = 1;
    return 1;
}

FAKE_EXPORT(claim);
int32_t fakefi_fi_pgn_claim(obzx_objid* primary, obzx_objid*** secondaries, int32_t* count)
{
    *secondaries = nullptr;
    *count = 0;
    if (g_fake->faults.fails("claim")) return OBZ_CLAIM_NONE;
    return std::string(primary->name).starts_with(PREFIX) ? OBZ_CLAIM_SECONDARY : OBZ_CLAIM_NONE;
}

FAKE_EXPORT(supports_fitype);
int32_t fakefi_fi_pgn_supports_fitype(obz_domain* node, const char* /*fim*/)
{
    if (g_fake->faults.fails("supports")) return 0;
    *node->access |= OBZ_ACCESS_LOCAL | OBZ_ACCESS_REMOTE;
    return 1;
}

static bool isGroupOfAny(const std::string& name)
{
    const std::vector<std::string> appliances = g_fake->store.appliances();
    return std::any_of(appliances.begin(), appliances.end(), [&name](const std::string& appliance) {
        return g_fake->store.isGroup({appliance, name});
    });
}

FAKE_EXPORT(init_node);
int32_t fakefi_fi_pgn_init_node(obz_domain* node, obz_domain** /*list*/, int32_t /*count*/, obzx_objid* /*identity*/)
{
    const std::string name = node->identity->name;
    const bool isGroup = !name.starts_with(PREFIX);
    g_fake->store.logCall("init_node " + name);
    SData& data = dataOf(node);
    if (g_fake->faults.fails("init_node:" + name)) return OBZ_ERR_FAILED;
    if (isGroup && !isGroupOfAny(name)) return OBZ_ERR_FAILED;
    if (!isGroup) {
        SLun lun;
        if (!g_fake->store.find(name.substr(PREFIX.size()), lun)) return OBZ_ERR_FAILED;
        data = {lun.appliance, lun.group, "", "", lun.serial};
    }
    node->name = node->identity->name;
    return OBZ_OK;
}

FAKE_EXPORT(deinit_node);
void fakefi_fi_pgn_deinit_node(obz_domain* node)
{
    if (node->private_data == nullptr) return;
    delete static_cast<SData*>(node->private_data);
    node->private_data = nullptr;
    --g_fake->nodes;
}

FAKE_EXPORT(process_providerstate);
int32_t fakefi_fi_pgn_process_providerstate(obz_domain* node, obz_blob* blob, obz_op_providerstate operation)
{
    if (operation == OBZ_STATE_SET) {
        const std::string text = static_cast<const char*>(blob->data);
        SData& data = dataOf(node);
        data = {between(text, "<ApplianceName>", "</ApplianceName>"),
                between(text, "<ConsistencyGroup>", "</ConsistencyGroup>"),
                between(text, "<TimeImage>", "</TimeImage>"), between(text, "<CheckPointName>", "</CheckPointName>"),
                between(text, "<SerialNo>", "</SerialNo>")};
        return OBZ_OK;
    }
    const SData& data = dataOf(node);
    std::string text = "<ApplianceType>Fake</ApplianceType>\n<ApplianceName>" + data.appliance + "</ApplianceName>\n" +
                       "<ConsistencyGroup>" + data.group + "</ConsistencyGroup>\n<TimeImage>" + data.image +
                       "</TimeImage>\n<CheckPointName>" + data.checkpoint + "</CheckPointName>\n<SerialNo>" +
                       data.serial + "</SerialNo>\n";
    if (g_fake->faults.fails("state")) text = "nonsense";
    blob->size = text.size() + 1;
    blob->data = bufferOf(text);
    blob->encoding = OBZ_ENCODING_STRING;
    return OBZ_OK;
}

FAKE_EXPORT(preselect);
int32_t fakefi_fi_pgn_preselect(obz_splitnode*, const char* session, obz_splitnode** nodes, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) {
        g_fake->session(session).nodes[nodes[i]->node->name] = nodes[i]->node;
    }
    return step("preselect");
}

FAKE_EXPORT(select);
int32_t fakefi_fi_pgn_select(obz_splitnode*, const char*, obz_splitnode**, int32_t)
{
    return step("select");
}

FAKE_EXPORT(quiesce);
int32_t fakefi_fi_pgn_quiesce(obz_splitnode*, obz_splitnode**, int32_t)
{
    return step("quiesce");
}

FAKE_EXPORT(unquiesce);
void fakefi_fi_pgn_unquiesce(obz_splitnode*, obz_splitnode**, int32_t)
{
    step("unquiesce");
}

FAKE_EXPORT(prepare);
int32_t fakefi_fi_pgn_prepare(obz_splitnode*, const char*, obz_splitnode**, int32_t, int32_t)
{
    return step("prepare");
}

namespace {

int32_t makeGroups(SSession& session)
{
    const std::string checkpoint = CHECKPOINT_PREFIX + std::to_string(getpid());
    std::map<std::pair<std::string, std::string>, std::vector<obz_domain*>> groups;
    for (const auto& [name, node] : session.nodes) {
        groups[{dataOf(node).appliance, dataOf(node).group}].push_back(node);
    }
    for (const auto& [key, nodes] : groups) {
        if (!createAnnotation(dataOf(nodes.front()), checkpoint)) return OBZ_ERR_FAILED;
        for (obz_domain* node : nodes) {
            dataOf(node).checkpoint = checkpoint;
            session.made[node->name] =
                PREFIX + "<DeviceID>" + dataOf(node).serial + "<DeviceID/><Annotation>" + checkpoint + "<Annotation/>";
        }
    }
    return OBZ_OK;
}

}  // namespace

FAKE_EXPORT(make);
int32_t fakefi_fi_pgn_make(obz_splitnode*, const char* name, obz_splitnode**, int32_t, obzx_objid*** identities,
                           int32_t* count)
{
    const obzx_pdk_4_4::CFiEntryPoint place(__func__);
    *identities = nullptr;
    *count = 0;
    SSession& session = g_fake->session(name);
    int32_t status = step("make");
    if (status == OBZ_OK) status = makeGroups(session);
    if (status == OBZ_OK && g_fake->faults.fails("made")) status = OBZ_ERR_FAILED;
    if (session.made.empty()) return status;
    *identities = static_cast<obzx_objid**>(obzx_alloc_buf(session.made.size() * sizeof(obzx_objid*)));
    for (const auto& [node, target] : session.made) {
        (*identities)[(*count)++] = identityOf(node);
    }
    return status;
}

FAKE_EXPORT(update_snapshot_handle);
int32_t fakefi_fi_pgn_update_snapshot_handle(const char* name, obz_snaphandle* handle)
{
    SSession& session = g_fake->session(name);
    if (step("update_snapshot_handle") != OBZ_OK) return OBZ_ERR_FAILED;
    handle->entries =
        static_cast<obz_snaphandle_entry*>(obzx_alloc_buf(session.made.size() * sizeof(obz_snaphandle_entry)));
    for (const auto& [node, target] : session.made) {
        if (!session.updated.insert(node).second) continue;
        handle->entries[handle->count++] = {bufferOf(node), bufferOf(target)};
    }
    return OBZ_OK;
}

namespace {

std::string keyOf(const SData& data, const std::string& image)
{
    return data.appliance + "." + data.group + "." + image;
}

int32_t makeImage(const SData& data)
{
    const std::string image = imageOf(data.checkpoint);
    if (g_fake->knowsImage(keyOf(data, image))) return OBZ_OK;
    if (!createImage(data, image)) return OBZ_ERR_FAILED;
    g_fake->enterImage(keyOf(data, image));
    return OBZ_OK;
}

// An image that another process made is not known here: the appliance is asked once.
bool knowsImage(const SData& data)
{
    if (g_fake->knowsImage(keyOf(data, data.image))) return true;
    std::vector<std::string> lines;
    if (!g_fake->tool.run(data.appliance, " list  timeimages " + quoted(data.group), lines)) return false;
    const bool isListed = std::any_of(lines.begin(), lines.end(), [&data](const std::string& line) {
        return line.substr(0, line.find(' ')) == data.image;
    });
    if (!isListed) return false;
    const std::string show = " show  timeimage " + quoted(data.image) + " " + quoted(data.group);
    if (!g_fake->tool.run(data.appliance, show)) return false;
    g_fake->enterImage(keyOf(data, data.image));
    return true;
}

}  // namespace

FAKE_EXPORT(init_altnode);
int32_t fakefi_fi_pgn_init_altnode(obz_domain* primary, obz_domain* /*second*/, obz_domain* target)
{
    const obzx_pdk_4_4::CFiEntryPoint place(__func__);
    const SData data = dataOf(primary);
    dataOf(target) = data;
    g_fake->store.logCall("init_altnode " + data.serial + " [" + data.image + "]");
    if (data.image.empty()) return makeImage(data);
    if (g_fake->faults.fails("find:" + data.serial) || !knowsImage(data)) return OBZ_ERR_FAILED;
    // Shown to this host is what was granted to it, whoever made it.
    SImage image;
    if (!g_fake->store.findImage(data.groupKey(), data.image, image)) return OBZ_ERR_FAILED;
    if (!image.isGrantedTo(g_fake->store.hostName())) return OBZ_ERR_FAILED;
    dataOf(target).serial = "T" + data.serial;
    target->identity = identityOf(g_fake->store.createCopy(data.groupKey(), data.image, data.serial));
    return OBZ_OK;
}

namespace {

// A target-device name tells serial and checkpoint; the group is the one that the LUN is in now.
int32_t disposeTarget(const std::string& name)
{
    SLun lun;
    if (!g_fake->store.find(between(name, "<DeviceID>", "<DeviceID/>"), lun)) return OBZ_ERR_FAILED;
    const std::string checkpoint = between(name, "<Annotation>", "<Annotation/>");
    deleteImageAndCheckpoint({lun.appliance, lun.group}, imageOf(checkpoint), checkpoint);
    return OBZ_OK;
}

// Of a plain path the states tell everything: the primary's appliance and group, the target's image.
int32_t disposeDevice(obz_domain* primary, obz_domain* target)
{
    if (primary == nullptr || primary->private_data == nullptr || target->private_data == nullptr) {
        return OBZ_ERR_FAILED;
    }
    const SGroup group = dataOf(primary).groupKey();
    const std::string image = dataOf(target).image;
    if (!g_fake->store.isGroup(group)) return OBZ_ERR_FAILED;
    deleteImageAndCheckpoint(group, image, checkpointOf(image));
    return OBZ_OK;
}

}  // namespace

FAKE_EXPORT(dispose);
int32_t fakefi_fi_pgn_dispose(obz_domain* node, obz_domain* target, obz_splitnode* /*split*/,
                              obz_disposition disposition)
{
    const obzx_pdk_4_4::CFiEntryPoint place(__func__);
    if (disposition != OBZ_DISP_REMOVE) return OBZ_OK;
    const std::string name = target->identity->name;
    g_fake->store.logCall("dispose " + name);
    // A provider that does nothing and says that all is well.
    if (g_fake->faults.fails("dispose")) return OBZ_OK;
    return name.starts_with(PREFIX) ? disposeTarget(name) : disposeDevice(node, target);
}
