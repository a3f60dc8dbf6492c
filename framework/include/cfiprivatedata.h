#pragma once

#include <ace/SString.h>

#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "framework/include/cficonfigparam.h"
#include "framework/include/cfitrace.h"
#include "framework/include/obz_records.h"

namespace obzx_pdk_4_4 {

/// What a provider keeps about one object of the host's tree; a provider derives its own class. Not locked: the host
/// makes calls on one node one at a time.
class OBZX_API CFiPrivateData : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    /// @param identity not owned; only looked at during construction (its name is copied)
    CFiPrivateData(obzx_objid* identity, bool isAltNode);
    ~CFiPrivateData() override;

    /// The identity that it was made for. The host's, and valid no longer than the node that it belongs to.
    obzx_objid* getObjectId() const { return m_identity; }
    const std::string& getKey() const { return m_key; }              ///< the object name that it is kept under
    const std::string& getObjName() const { return m_objName; }      ///< empty: the framework sets none
    const std::string& getSessionId() const { return m_sessionId; }  ///< empty: the framework sets none
    const std::string& getSplitType() const { return m_splitType; }
    void setSplitType(const char* splitType) { m_splitType = splitType == nullptr ? "" : splitType; }

    /// What the host means to do with the copy; anything but OBZ_INTENT_NONE keeps the copy off this host.
    obz_intent getIntent() const { return m_intent; }
    void setIntent(obz_intent intent) { m_intent = intent; }
    /// Whether the copy is meant for another host.
    bool getTransportable() const { return m_transportable; }
    void setTransportable(bool transportable) { m_transportable = transportable; }
    /// Whether it belongs to an alternate node, the target of an import.
    bool getIsAltNode() const { return m_isAltNode; }
    void setIsAltNode(bool isAltNode) { m_isAltNode = isAltNode; }

    /// The identity stays its owner's and must outlive this object.
    void addSubObject(obzx_objid* identity) { m_subObjects.push_back(identity); }
    const std::list<obzx_objid*>& getSubObjectList() const { return m_subObjects; }
    size_t getSubObjectListLength() const { return m_subObjects.size(); }
    void addTarget(const std::string& target) { m_targets.push_back(target); }
    const std::list<std::string>& getTargets() const { return m_targets; }

    /// Copies the names of a host list, which may be null.
    void setHostList(const obz_host_infn* hosts);
    const std::vector<std::string>& getHostList() const { return m_hosts; }

    /// Lists of configuration values by a number of the provider's choosing; asking for one makes it, empty.
    bool hasConfigInfoList(int index) const { return m_configInfo.count(index) != 0; }
    bool hasConfigDataList(int index) const { return m_configData.count(index) != 0; }
    CFiConfigParamInfoList& configInfoList(int index) { return m_configInfo[index]; }
    CFiConfigParamDataList& configDataList(int index) { return m_configData[index]; }

  private:
    obzx_objid* m_identity;
    obz_intent m_intent = OBZ_INTENT_NONE;
    bool m_transportable = false;
    bool m_isAltNode;
    const std::string m_key;
    std::string m_objName;
    std::string m_sessionId;
    std::string m_splitType;
    std::list<obzx_objid*> m_subObjects;
    std::list<std::string> m_targets;
    std::vector<std::string> m_hosts;
    std::map<int, CFiConfigParamInfoList> m_configInfo;
    std::map<int, CFiConfigParamDataList> m_configData;
};

using CFiPrivateDataPtr = CFiSmartPtr<CFiPrivateData, CFiNullAllocator<CFiPrivateData>>;

/**
 * Creates private data, hangs it on nodes and finds it again. Keeps one map for primary and one for alternate nodes, by
 * object name; two nodes that name the same object share one private-data object. A node owns a counted pointer in
 * obz_domain::private_data, which only this class writes. Any thread may call it, for one node one at a time.
 */
class OBZX_API CFiPrivateDataFactory : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    static constexpr uint32_t NOTHING_TO_FREE = 0xFFFFFFFFu;

    CFiPrivateDataFactory();
    ~CFiPrivateDataFactory() override;

    /// The node's private data, created and entered in the chosen map when there is none for its object yet. Empty for
    /// a node without an identity or a name. @throw std::bad_alloc, and what create() throws; nothing is entered then
    virtual CFiPrivateDataPtr allocate(obz_domain* domain, bool isAltNode);
    /// Empty when the node has none.
    virtual CFiPrivateDataPtr access(obz_domain* domain);
    /// Takes the private data off the node, and out of the map with the last node that held it. NOTHING_TO_FREE or 0.
    virtual uint32_t deallocate(obz_domain* domain);
    /// By the name of the object; empty when no node has it.
    CFiPrivateDataPtr accessByName(const ACE_String_Base<char>& name, bool isAltNode);
    /// Copies of all pointers of a map, in name order.
    std::vector<CFiPrivateDataPtr> getPrivateDataList(bool isAltNode);

  protected:
    /// A new object of the provider's class. Called with the maps locked, so it must not use the factory.
    virtual CFiPrivateDataPtr create(obzx_objid* identity, bool isAltNode) = 0;

  private:
    using CMap = std::map<std::string, CFiPrivateDataPtr>;
    CMap& mapFor(bool isAltNode) { return isAltNode ? m_alternate : m_primary; }

    std::mutex m_mutex;
    CMap m_primary;
    CMap m_alternate;
};

using CFiPrivateDataFactoryPtr = CFiSmartPtr<CFiPrivateDataFactory, CFiNullAllocator<CFiPrivateDataFactory>>;

/// A factory whose objects are of class T, which is constructed from (identity, isAltNode).
template <class T>
class CFiPrivateDataConcreteFactory : public CFiPrivateDataFactory
{
  protected:
    CFiPrivateDataPtr create(obzx_objid* identity, bool isAltNode) override
    {
        return CFiPrivateDataPtr(new T(identity, isAltNode));
    }
};

/// Owns the factories of a provider; the one registered last serves. Any thread may call it. A factory that cannot be
/// had, because its lock failed, makes and finds nothing.
class OBZX_API CFiPrivateDataManager : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    CFiPrivateDataManager();
    ~CFiPrivateDataManager() override;

    /// What the former factory keeps can no longer be found by name. An empty pointer: nothing.
    void registerFactory(const CFiPrivateDataFactoryPtr& factory);
    /// The factory that serves; the manager's own, for CFiPrivateData, until one is registered. Empty only when its
    /// lock failed.
    CFiPrivateDataFactoryPtr getFactory() const;
    /// The operations of the factory that serves.
    CFiPrivateDataPtr allocate(obz_domain* domain, bool isAltNode);
    CFiPrivateDataPtr access(obz_domain* domain);
    uint32_t deallocate(obz_domain* domain);
    CFiPrivateDataPtr accessByName(const ACE_String_Base<char>& name, bool isAltNode);
    /// The log goes to the factories too.
    void registerTraceLog(const CFiTraceLogPtr& traceLog) override;

  private:
    mutable std::mutex m_mutex;
    CFiPrivateDataFactoryPtr m_factory;
};

using CFiPrivateDataManagerPtr =
    CFiSmartPtr<CFiPrivateDataManager, CFiContextSingletonAllocator<CFiPrivateDataManager>>;

}  // namespace obzx_pdk_4_4
