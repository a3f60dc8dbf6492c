// A provider for the tests of fictl: small, real, with faults to order (store.h). It keeps to the host interface and to
// the names and trace lines that fictl reads.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "framework/include/cfitrace.h"
#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_runtime.h"
#include "host/tests/fakefi/store.h"

#define FAKE_EXPORT(op) extern "C" OBZX_API obzx_fi_##op##_fn fakefi_fi_pgn_##op

namespace {

using EFault = CStore::EFault;

const std::string PREFIX = "<fakefi>";

struct SData
{
    std::string appliance, group, image, checkpoint, serial;
};

struct SSession
{
    std::map<std::string, obz_domain*> nodes;
    std::map<std::string, std::string> made;  // node to target
    std::set<std::string> updated;
};

struct SFake
{
    CStore store;
    std::unique_ptr<obzx_pdk_4_4::CFiTraceLog> log = std::make_unique<obzx_pdk_4_4::CFiTraceLog>();
    std::map<std::string, SSession> sessions;
    std::set<std::string> images;  // made by this process: appliance.group.image
    int nodes = 0;                 // nodes that hold private data
};

SFake* g_fake = nullptr;

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

void commandFailed(const std::string& command, const std::string& output)
{
    g_fake->log->trace(2, "CLI Command [%s] failed with error [%ld] and output \n[%s]\n.", command, 3L, output);
    g_fake->log->trace(1, "Failed to execute command [%s]", command);
}

std::string between(const std::string& text, const std::string& open, const std::string& close)
{
    const size_t from = text.find(open);
    const size_t to = text.find(close);
    if (from == std::string::npos || to == std::string::npos) return {};
    return text.substr(from + open.size(), to - from - open.size());
}

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

// One appliance command that makes an object; false when it failed.
bool createObject(const std::string& point, const char* kind, const SLun& lun, const std::string& name)
{
    const std::string command =
        " create  " + std::string(kind) + " " + quoted(name) + " " + quoted(lun.group) + "\n commit ";
    std::string text;
    const EFault fault = g_fake->store.fault(point + ":" + lun.group, text);
    if (fault == EFault::FAIL) {
        commandFailed(command, text);
        return false;
    }
    if (g_fake->store.has(lun, name)) {
        commandFailed(command,
                      std::string(kind) + " " + quoted(name) + " exists already in group " + quoted(lun.group));
        return false;
    }
    g_fake->store.create(lun, name);
    CStore::afterEffect(fault);
    if (fault == EFault::LOST) commandFailed(command, text);
    return fault != EFault::LOST;
}

void deleteObject(const char* kind, const SLun& lun, const std::string& name)
{
    const std::string command = " delete  " + std::string(kind) + " " + quoted(name) + " " + quoted(lun.group);
    std::string text;
    const EFault fault = g_fake->store.fault(std::string("delete-") + kind + ":" + lun.group, text);
    if (fault == EFault::FAIL) return commandFailed(command, text);
    if (!g_fake->store.remove(lun, name)) {
        return commandFailed(command,
                             std::string(kind) + " " + quoted(name) + " does not exist in group " + quoted(lun.group));
    }
    CStore::afterEffect(fault);
    if (fault == EFault::LOST) commandFailed(command, text);
}

// Logs a call that has no other effect and gives the status that a fault asks for.
int32_t step(const char* name)
{
    std::string text;
    g_fake->store.logCall(name);
    return g_fake->store.fault(name, text) == EFault::NONE ? OBZ_OK : OBZ_ERR_FAILED;
}

}  // namespace

FAKE_EXPORT(init);
int32_t fakefi_fi_pgn_init(obz_context* context, obz_version* version, const char* /*fim*/)
{
    g_fake = new SFake();
    g_fake->log->initialize("fakefi", "", "", 1, false);
    g_fake->store.logCall("init");
    version->version = OBZ_INTERFACE_VERSION;
    std::string text;
    if (g_fake->store.fault("version", text) != EFault::NONE) version->version = 99;
    if (g_fake->store.fault("init", text) == EFault::NONE) return OBZ_OK;
    context->callback(context, "", text.c_str(), OBZ_SEV_ERROR);
    return OBZ_ERR_INIT;
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
    std::string text;
    if (g_fake->store.fault("interpose", text) != EFault::NONE) {
        commandFailed(" list  cgroups ", text);
        return 0;
    }
    const SLun* const lun = g_fake->store.find(node->identity->name);
    if (lun == nullptr) return 0;
    *interposed = identityOf(PREFIX + lun->serial);
    *groups = static_cast<obzx_objid**>(obzx_alloc_buf(sizeof(obzx_objid*)));
    (*groups)[0] = identityOf(lun->group);
    *count = 1;
    return 1;
}

FAKE_EXPORT(claim);
int32_t fakefi_fi_pgn_claim(obzx_objid* primary, obzx_objid*** secondaries, int32_t* count)
{
    *secondaries = nullptr;
    *count = 0;
    std::string text;
    if (g_fake->store.fault("claim", text) != EFault::NONE) return OBZ_CLAIM_NONE;
    return std::string(primary->name).starts_with(PREFIX) ? OBZ_CLAIM_SECONDARY : OBZ_CLAIM_NONE;
}

FAKE_EXPORT(supports_fitype);
int32_t fakefi_fi_pgn_supports_fitype(obz_domain* node, const char* /*fim*/)
{
    std::string text;
    if (g_fake->store.fault("supports", text) != EFault::NONE) return 0;
    *node->access |= OBZ_ACCESS_LOCAL | OBZ_ACCESS_REMOTE;
    return 1;
}

FAKE_EXPORT(init_node);
int32_t fakefi_fi_pgn_init_node(obz_domain* node, obz_domain** /*list*/, int32_t /*count*/, obzx_objid* /*identity*/)
{
    const std::string name = node->identity->name;
    const bool isGroup = !name.starts_with(PREFIX);
    g_fake->store.logCall("init_node " + name);
    SData& data = dataOf(node);
    std::string text;
    if (g_fake->store.fault("init_node:" + name, text) != EFault::NONE) return OBZ_ERR_FAILED;
    if (isGroup && !g_fake->store.isGroup(name)) return OBZ_ERR_FAILED;
    if (!isGroup) {
        const SLun* const lun = g_fake->store.find(name.substr(PREFIX.size()));
        if (lun == nullptr) return OBZ_ERR_FAILED;
        data = {lun->appliance, lun->group, "", "", lun->serial};
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
    std::string fault;
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
    if (g_fake->store.fault("state", fault) != EFault::NONE) text = "nonsense";
    blob->size = text.size() + 1;
    blob->data = bufferOf(text);
    blob->encoding = OBZ_ENCODING_STRING;
    return OBZ_OK;
}

FAKE_EXPORT(preselect);
int32_t fakefi_fi_pgn_preselect(obz_splitnode*, const char* session, obz_splitnode** nodes, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) {
        g_fake->sessions[session].nodes[nodes[i]->node->name] = nodes[i]->node;
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
    const std::string checkpoint = "KSV_Check_Point_" + std::to_string(getpid());
    std::map<std::pair<std::string, std::string>, std::vector<obz_domain*>> groups;
    for (const auto& [name, node] : session.nodes) {
        const SData& data = dataOf(node);
        groups[{data.appliance, data.group}].push_back(node);
        g_fake->log->trace(1, "CCDPPlugin::makeSnapshots - working with Node name %s", name);
    }
    for (const auto& [key, nodes] : groups) {
        const SLun lun{"", "", key.first, key.second};
        if (!createObject("make", "annotation", lun, checkpoint)) {
            g_fake->log->trace(1, "CCDPPlugin::makeSnapshots - failed to create annotation for consistency group [%s].",
                               key.second);
            return OBZ_ERR_FAILED;
        }
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
    *identities = nullptr;
    *count = 0;
    SSession& session = g_fake->sessions[name];
    int32_t status = step("make");
    if (status == OBZ_OK) status = makeGroups(session);
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
    SSession& session = g_fake->sessions[name];
    if (step("update_snapshot_handle") != OBZ_OK) return OBZ_ERR_FAILED;
    handle->entries =
        static_cast<obz_snaphandle_entry*>(obzx_alloc_buf(session.made.size() * sizeof(obz_snaphandle_entry)));
    for (const auto& [node, target] : session.made) {
        if (!session.updated.insert(node).second) continue;
        handle->entries[handle->count++] = {bufferOf(node), bufferOf(target)};
    }
    return OBZ_OK;
}

FAKE_EXPORT(init_altnode);
int32_t fakefi_fi_pgn_init_altnode(obz_domain* primary, obz_domain* /*second*/, obz_domain* target)
{
    const SData& data = dataOf(primary);
    dataOf(target) = data;
    const SLun lun{"", data.serial, data.appliance, data.group};
    const std::string image = "KSV_Time_Image_" + data.checkpoint.substr(std::strlen("KSV_Check_Point_"));
    const std::string key = lun.appliance + "." + lun.group + "." + image;
    g_fake->store.logCall("init_altnode " + data.serial + " [" + data.image + "]");
    if (data.image.empty()) {
        if (g_fake->images.contains(key)) return OBZ_OK;
        if (!g_fake->store.has(lun, data.checkpoint)) {
            commandFailed(" create  timeimage " + quoted(image),
                          "annotation " + quoted(data.checkpoint) + " does not exist");
            return OBZ_ERR_FAILED;
        }
        if (!createObject("image", "timeimage", lun, image)) return OBZ_ERR_FAILED;
        g_fake->images.insert(key);
        return OBZ_OK;
    }
    std::string text;
    if (g_fake->store.fault("find:" + data.serial, text) != EFault::NONE || !g_fake->images.contains(key)) {
        return OBZ_ERR_FAILED;
    }
    target->identity = identityOf(g_fake->store.copyPath(data.serial));
    return OBZ_OK;
}

FAKE_EXPORT(dispose);
int32_t fakefi_fi_pgn_dispose(obz_domain* /*node*/, obz_domain* target, obz_splitnode* /*split*/,
                              obz_disposition disposition)
{
    if (disposition != OBZ_DISP_REMOVE) return OBZ_OK;
    const std::string name = target->identity->name;
    g_fake->store.logCall("dispose " + name);
    const std::string checkpoint = between(name, "<Annotation>", "<Annotation/>");
    const SLun* const lun = g_fake->store.find(between(name, "<DeviceID>", "<DeviceID/>"));
    if (lun == nullptr) return OBZ_ERR_FAILED;
    std::string text;
    const EFault fault = g_fake->store.fault("dispose", text);
    if (fault == EFault::FAIL) g_fake->log->trace(1, "The command timed out");
    if (fault != EFault::NONE) return OBZ_OK;
    deleteObject("timeimage", *lun, "KSV_Time_Image_" + checkpoint.substr(std::strlen("KSV_Check_Point_")));
    deleteObject("annotation", *lun, checkpoint);
    return OBZ_OK;
}

// Entry points that a host must find but fictl never calls.
#define FAKE_UNUSED(op)                               \
    extern "C" OBZX_API int32_t fakefi_fi_pgn_##op(); \
    int32_t fakefi_fi_pgn_##op()                      \
    {                                                 \
        return OBZ_ERR_UNSUPPORTED;                   \
    }
FAKE_UNUSED(errmsg)
FAKE_UNUSED(get_last_error)
FAKE_UNUSED(del_last_error)
FAKE_UNUSED(get_locale_message)
FAKE_UNUSED(del_locale_message)
FAKE_UNUSED(getattr)
FAKE_UNUSED(is_parent_pgn)
FAKE_UNUSED(init_remnode)
FAKE_UNUSED(reaccess_tmpobj)
FAKE_UNUSED(reaccess_altnode)
FAKE_UNUSED(subobj_list)
FAKE_UNUSED(check_node_existence)
FAKE_UNUSED(refresh_tree)
FAKE_UNUSED(revisit_pgn_nodes)
FAKE_UNUSED(enumerate_nodes)
FAKE_UNUSED(enumerate_group_nodes)
FAKE_UNUSED(enumerate_associations)
FAKE_UNUSED(isvalid_node_association)
FAKE_UNUSED(get_associated_nodes)
FAKE_UNUSED(enumerate_enclosures)
FAKE_UNUSED(enumerate_host_nodes)
FAKE_UNUSED(query_valid_secondaries)
FAKE_UNUSED(pre_prepare)
FAKE_UNUSED(isready)
FAKE_UNUSED(verify_qscombos)
FAKE_UNUSED(update_snapshot_id)
FAKE_UNUSED(getSnapshotSetId)
FAKE_UNUSED(createSnapReplicaNode)
FAKE_UNUSED(get_snapdiff)
FAKE_UNUSED(cache_disable)
FAKE_UNUSED(cache_enable)
FAKE_UNUSED(import_tree)
FAKE_UNUSED(deport_tree)
FAKE_UNUSED(build_alttree)
FAKE_UNUSED(start_build_alttree)
FAKE_UNUSED(set_import_options)
FAKE_UNUSED(import_resource)
FAKE_UNUSED(deport_resource)
FAKE_UNUSED(pre_deport_resource)
FAKE_UNUSED(post_deport)
FAKE_UNUSED(online)
FAKE_UNUSED(online_resource)
FAKE_UNUSED(enable_access)
FAKE_UNUSED(disable_access)
FAKE_UNUSED(translate_resource_names)
FAKE_UNUSED(restore)
FAKE_UNUSED(resync)
FAKE_UNUSED(get_backupset)
FAKE_UNUSED(set_restorepaths)
FAKE_UNUSED(set_op_status)
FAKE_UNUSED(set_comp_status)
FAKE_UNUSED(get_app_status)
FAKE_UNUSED(get_status)
FAKE_UNUSED(res_status)
FAKE_UNUSED(format)
FAKE_UNUSED(unformat)
#ifndef FAKEFI_WITHOUT_OBJCTL
FAKE_UNUSED(objctl)
#endif
