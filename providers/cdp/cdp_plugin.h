#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "framework/include/cfiplugininterposer.h"
#include "providers/cdp/cdp_appliance_factory.h"
#include "providers/cdp/cdp_combos.h"
#include "providers/cdp/cdp_group_nodes.h"
#include "providers/cdp/cdp_names.h"
#include "providers/cdp/cdp_node_grouping.h"
#include "providers/cdp/cdp_privatedata.h"

namespace cdpfi {

struct SImportRequest;

/**
 * The provider's plug-in class. Each operation finds the appliance, the group or the node data that a call is about and
 * hands over; the names, groupings and texts that it works with are pieces of their own.
 *
 * obz_entry_points.h says what the operations take and give. No exception leaves one: it is traced at level 1 and the
 * operation gives OBZ_ERR_FAILED, claim, interpose and supportsFiType give 0; init reports on the error stack. Refusals
 * are a trace and a status.
 *
 * Operations run on any thread, several at a time. What they share has locks of its own (group nodes, combinations,
 * private data, sessions) or does not change once init has returned (the appliances). None is held while a command
 * runs.
 *
 * Names of nodes: a device path of this host contains "/dev/"; an interposed node is the node prefix + a LUN serial; a
 * group node is the name of a consistency group; a target device (the copy of a node) is the node prefix + tagged
 * values, see targetDeviceName.
 */
class CCDPPlugin : public obzx_pdk_4_4::CFiPluginInterposer
{
  public:
    CCDPPlugin();
    ~CCDPPlugin() override;

    int32_t delayedInit() override;
    int32_t init() override;
    int32_t fini() override;
    int32_t getProviderInfo(obz_provider_list** provider) override;
    int32_t enumerateFims(obz_fim_list** fims) override;

    int32_t claim(obzx_objid* primary, obzx_objid*** secondaries, int32_t* secondaryCount) override;
    int32_t supportsFiType(obz_domain* node, const char* fim) override;
    int32_t interpose(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* groupCount) override;

    int32_t initNode(obz_domain* node, obz_domain** list, int32_t count, obzx_objid* identity) override;
    int32_t deInitNode(obz_domain* node) override;

    int32_t select(const char* session, obz_splitnode** nodes, int32_t count) override;
    int32_t makeSnapshots(obzx_pdk_4_4::CFiSessionPtr& session) override;

    int32_t initAltNode(obz_domain* primary, obz_domain* second, obz_domain* target, bool isRemote) override;
    int32_t importTreeNode(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t count,
                           obzx_objid** list) override;
    using CFiPluginInterposer::importNode;
    /// Grants the copy that a node name stands for to this host, or takes the grant back. The name of a device path
    /// stands for its whole group; a target device's for one time image, which is made when it is not there.
    int32_t importNode(const CString& nodeName, bool transportable, bool reserved, bool unmap, int32_t flags) override;

    int32_t dispose(obz_domain* node, obz_domain* target, obz_splitnode* split, obz_disposition disposition) override;
    int32_t restore(obzx_objid** from, obzx_objid** to, long count, char* session, char* path, char*** files,
                    long* fileCount, long flags, long* status) override;
    int32_t deportTree(obz_domain* node, obz_domain* target, obz_accessnode* access) override;
    int32_t processProviderState(obz_domain* node, obz_blob* blob, obz_op_providerstate operation) override;

    /// The provider's private data of a node; null for a null node or one without any. The node keeps it alive.
    CCDPPrivateData* GetPrivateData(obz_domain* node);

  private:
    using CRegistryPtr = obzx_pdk_4_4::CFiSmartPtr<CCDPApplianceFactory,
                                                   obzx_pdk_4_4::CFiContextSingletonAllocator<CCDPApplianceFactory>>;
    static CRegistryPtr registry();
    /// The node's private data, made when there is none; null for a node without a name.
    CCDPPrivateData* obtainPrivateData(obz_domain* node, bool isAltNode);
    /// "<" + provider name + ">", the same text as getInterposeNodePrefix().
    std::string nodePrefix() const;
    bool isInterposed(const CString& name) const;
    /// What stands behind the node prefix, wherever in a name that is; empty when the name does not have it. Valid as
    /// long as the name is.
    std::string_view behindPrefix(const CString& name) const;

    // Start and description: cdp_plugin_lifecycle.cpp
    int32_t startUp();
    void registerCatalog();
    void registerPrivateData();
    bool checkAppliances(const std::vector<CAppliancePtr>& appliances);
    void announceFims(const std::vector<CAppliancePtr>& appliances);
    void reportFailedStart() noexcept;

    // Claiming: cdp_plugin_claim.cpp
    bool findFim(std::string_view fim, obzx_pdk_4_4::SFiFimInfo& found);
    int32_t answerAccess(obz_domain* node, const obzx_pdk_4_4::SFiFimInfo& fim);
    int32_t interposeDevice(const CString& device, obzx_objid** interposed, obzx_objid*** groups, int32_t* groupCount);

    // Nodes: cdp_plugin_nodes.cpp. The key of a node is the LUN serial or group name that an appliance knows it by.
    int32_t setUpNode(obz_domain* node, CCDPPrivateData* data);
    bool keyOfNode(const CString& name, bool isGroup, CString& key);
    SClaim claimOfNode(const CString& key, bool isGroup);
    bool fillNode(obz_domain* node, const CAppliancePtr& appliance, const CString& group);
    void giveBack(obz_domain* node) noexcept;
    void leaveGroup(obz_domain* node, const CString& group);

    // Taking a snapshot: cdp_plugin_snapshot.cpp. What was made is noted in the session node by node.
    bool groupNode(const CString& name, CNodeGrouping& grouping);
    void traceGrouping(CNodeGrouping::EAdded added, const CString& node, const CString& group,
                       const CString& appliance);
    int32_t makeCheckPoints(const CNodeGrouping& grouping, obzx_pdk_4_4::CFiSession& session);
    int32_t makeCheckPoint(const CAppliancePtr& appliance, const CString& groupName, const CNodeGrouping::CNodes& nodes,
                           const CString& checkPoint, obzx_pdk_4_4::CFiSession& session);
    void recordCopy(const CString& node, const CString& checkPoint, obzx_pdk_4_4::CFiSession& session);

    // Bringing a copy to this host: cdp_plugin_import.cpp (which copy, and where it shows), cdp_plugin_import_node.cpp
    // (making and granting it)
    int32_t importCopy(const SImportRequest& request);
    int32_t importExistingImage(const SImportRequest& request);
    int32_t importUnknownTree(obz_domain* primary, const CString& resource, obzx_objid** output);
    int32_t importDevice(const CString& device, bool unmap);
    int32_t importTarget(const CString& nodeName, bool unmap);
    int32_t mapImage(const STargetDevice& target, const CConsistencyGroupPtr& group, const CHostPtr& host);
    CHostPtr localHostOf(const CAppliancePtr& appliance);

    // Disposal: cdp_plugin_dispose.cpp
    int32_t disposeNode(obz_domain* node, obz_domain* target);
    int32_t disposeDevice(const CString& name, const CCDPPrivateData* primary, const CCDPPrivateData* target);
    int32_t disposeTarget(const CString& name);

    CGroupNodes m_groupNodes;
    CNodeCombos m_combos;
};

}  // namespace cdpfi
