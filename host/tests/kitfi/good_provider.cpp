// A provider without a defect, for those that are made from it: it serves every device below /dev, keeps a state of
// each node, makes a copy of whatever is selected, and has something to say about its start.
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "framework/include/cfiplugininterposer.h"
#include "framework/include/obzx_runtime.h"

namespace goodfi {

using obzx_pdk_4_4::CFiSessionPtr;

namespace {

constexpr const char* PREFIX = "<goodfi>";
constexpr const char* METHOD = "Good";

obzx_objid* identityOf(const std::string& name)
{
    return obzx_get_objid(name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
}

char* bufferOf(const std::string& text)
{
    auto* const buffer = static_cast<char*>(obzx_alloc_buf(text.size() + 1));
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return buffer;
}

bool isOwn(const obzx_objid* identity)
{
    return identity != nullptr && identity->name != nullptr && std::string(identity->name).starts_with(PREFIX);
}

// A node's private data is its state; null for a node that was not set up.
std::string* stateOf(obz_domain* node)
{
    return static_cast<std::string*>(node->private_data);
}

void keepState(obz_domain* node, const std::string& state)
{
    if (stateOf(node) == nullptr) node->private_data = new std::string();
    *stateOf(node) = state;
}

obz_combo_entry* comboEntry(obz_domain* node)
{
    auto* const entry = static_cast<obz_combo_entry*>(std::calloc(1, sizeof(obz_combo_entry)));
    entry->name = strdup(METHOD);
    entry->node = node;
    return entry;
}

void addCombo(obz_domain* node)
{
    auto* const combo = static_cast<obz_combo*>(std::calloc(1, sizeof(obz_combo)));
    combo->quiesce = comboEntry(node);
    combo->split = comboEntry(node);
    node->combos = combo;
}

void freeCombos(obz_domain* node)
{
    while (node->combos != nullptr) {
        obz_combo* const combo = node->combos;
        node->combos = combo->next;
        for (obz_combo_entry* const entry : {combo->quiesce, combo->split}) {
            std::free(entry->name);
            std::free(entry);
        }
        std::free(combo);
    }
}

}  // namespace

class CGoodPlugin : public obzx_pdk_4_4::CFiPluginInterposer
{
  public:
    int32_t init() override
    {
        m_errorManager->push(obzx_pdk_4_4::CFiMessagePtr(
            new obzx_pdk_4_4::CFiMessage("goodfi", "STARTED", {"now"}, "good_provider.cpp", 1, OBZ_SEV_WARNING)));
        return OBZ_OK;
    }

    int32_t getProviderInfo(obz_provider_list** provider) override
    {
        const uint16_t version[4] = {1, 2, 3, 4};
        *provider = obzx_build_providerlist_node("goodfi", 1, 2, version, nullptr, 0);
        return OBZ_OK;
    }

    int32_t enumerateFims(obz_fim_list** fims) override
    {
        if (fims == nullptr) return OBZ_ERR_INVALID_ARG;
        *fims = obzx_build_fim_list_node(METHOD, "1.0", "goodfi");
        return OBZ_OK;
    }

    int32_t interpose(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* count) override
    {
        if (node == nullptr || interposed == nullptr || groups == nullptr || count == nullptr) return 0;
        const obzx_objid* const identity = node->identity;
        const bool isNamed = identity != nullptr && identity->name != nullptr;
        if (!isNamed || !std::string(identity->name).starts_with("/dev/")) return 0;
        *interposed = identityOf(PREFIX + std::string(identity->name));
        *groups = static_cast<obzx_objid**>(obzx_alloc_buf(sizeof(obzx_objid*)));
        (*groups)[0] = identityOf("group");
        *count = 1;
        return 1;
    }

    int32_t claim(obzx_objid* primary, obzx_objid***, int32_t*) override
    {
        return isOwn(primary) ? OBZ_CLAIM_SECONDARY : OBZ_CLAIM_NONE;
    }

    int32_t supportsFiType(obz_domain* node, const char* fim) override
    {
        if (node == nullptr) return 0;
        const bool isKnown = fim != nullptr && (std::strcmp(fim, METHOD) == 0 || std::strcmp(fim, "any") == 0);
        const bool isSupported = isKnown && isOwn(node->identity);
        if (node->access != nullptr) *node->access = isSupported ? OBZ_ACCESS_LOCAL : OBZ_ACCESS_NONE;
        return isSupported ? 1 : 0;
    }

    int32_t initNode(obz_domain* node, obz_domain**, int32_t, obzx_objid*) override
    {
        if (node == nullptr) return OBZ_ERR_INVALID_ARG;
        if (!isOwn(node->identity)) return OBZ_ERR_FAILED;
        freeCombos(node);
        node->name = node->identity->name;
        node->value = getNodeValue();
        keepState(node, "<State>" + std::string(node->name) + "</State>\n");
        addCombo(node);
        return OBZ_OK;
    }

    int32_t deInitNode(obz_domain* node) override
    {
        if (node == nullptr) return OBZ_ERR_INVALID_ARG;
        freeCombos(node);
        delete stateOf(node);
        node->private_data = nullptr;
        return OBZ_OK;
    }

    int32_t processProviderState(obz_domain* node, obz_blob* blob, obz_op_providerstate operation) override
    {
        if (operation == OBZ_STATE_GET && blob != nullptr) *blob = {};
        if (node == nullptr || blob == nullptr) return OBZ_ERR_INVALID_ARG;
        if (operation == OBZ_STATE_SET) return takeState(node, *blob);
        if (operation != OBZ_STATE_GET || stateOf(node) == nullptr) return OBZ_ERR_INVALID_ARG;
        blob->data = bufferOf(*stateOf(node));
        blob->size = stateOf(node)->size() + 1;
        blob->encoding = OBZ_ENCODING_STRING;
        return OBZ_OK;
    }

    int32_t makeSnapshots(CFiSessionPtr& session) override
    {
        for (const obzx_pdk_4_4::CFiSplitNode& node : session->getNodes()) {
            session->update(node.m_name.c_str(), [](obzx_pdk_4_4::CFiSplitNode& entry) {
                entry.m_target = (PREFIX + std::string("copy-of-") + entry.m_name.c_str()).c_str();
                entry.m_makeDone = 1;
            });
        }
        return OBZ_OK;
    }

    int32_t dispose(obz_domain* node, obz_domain* target, obz_splitnode*, obz_disposition) override
    {
        return node == nullptr || target == nullptr ? OBZ_ERR_INVALID_ARG : OBZ_OK;
    }

  private:
    static int32_t takeState(obz_domain* node, const obz_blob& blob)
    {
        const auto* const bytes = static_cast<const char*>(blob.data);
        if (bytes == nullptr || blob.size == 0) return OBZ_OK;
        keepState(node, std::string(bytes, strnlen(bytes, blob.size)));
        return OBZ_OK;
    }
};

}  // namespace goodfi

#define FI_PROVIDER goodfi
#define FI_PLUGIN_CLASS goodfi::CGoodPlugin
#include "pdk/include/cfiapiexport.h"
