#include "framework/include/cfiprivatedata.h"

#include <memory>

#include "framework/include/cfistringtool.h"

namespace obzx_pdk_4_4 {
namespace {

// What a node's slot points at.
using CHolder = CFiPrivateDataPtr;

CHolder* holderOf(const obz_domain* domain)
{
    return domain == nullptr ? nullptr : static_cast<CHolder*>(domain->private_data);
}

// Whether the map entry is the last pointer to its object. A count that cannot be read counts as held by others.
bool isLastReference(const CFiPrivateDataPtr& data)
{
    ACE_Thread_Mutex& lock = data->countLock();
    if (lock.acquire() != 0) return false;
    const bool isLast = data->getCount() == 1;
    lock.release();
    return isLast;
}

}  // namespace

CFiPrivateData::CFiPrivateData(obzx_objid* identity, bool isAltNode)
    : m_identity(identity),
      m_isAltNode(isAltNode),
      m_key(identity == nullptr || identity->name == nullptr ? "" : identity->name)
{
}

CFiPrivateData::~CFiPrivateData() = default;

void CFiPrivateData::setHostList(const obz_host_infn* hosts)
{
    m_hosts.clear();
    for (const obz_host_infn* host = hosts; host != nullptr; host = host->next) {
        if (host->name != nullptr) m_hosts.emplace_back(host->name);
    }
}

CFiPrivateDataFactory::CFiPrivateDataFactory() = default;
CFiPrivateDataFactory::~CFiPrivateDataFactory() = default;

CFiPrivateDataPtr CFiPrivateDataFactory::allocate(obz_domain* domain, bool isAltNode)
{
    if (domain == nullptr) return nullptr;
    if (const CHolder* holder = holderOf(domain)) return *holder;
    if (domain->identity == nullptr || domain->identity->name == nullptr) return nullptr;
    const std::string name = domain->identity->name;

    // Creation happens under the lock, so that two nodes that name one object never get two private-data objects.
    const std::lock_guard lock(m_mutex);
    auto holder = std::make_unique<CHolder>();  // before the entry is made: one that no node holds would stay for ever
    CMap& map = mapFor(isAltNode);
    auto entry = map.find(name);
    if (entry == map.end()) {
        CFiPrivateDataPtr data = create(domain->identity, isAltNode);
        if (!data) return nullptr;
        data->registerTraceLog(m_traceLog);
        entry = map.emplace(name, std::move(data)).first;
    }
    *holder = entry->second;
    domain->private_data = holder.release();
    return entry->second;
}

CFiPrivateDataPtr CFiPrivateDataFactory::access(obz_domain* domain)
{
    const CHolder* holder = holderOf(domain);
    return holder == nullptr ? CFiPrivateDataPtr() : *holder;
}

uint32_t CFiPrivateDataFactory::deallocate(obz_domain* domain)
{
    const std::unique_ptr<CHolder> holder(holderOf(domain));
    if (!holder) return NOTHING_TO_FREE;
    domain->private_data = nullptr;
    if (!*holder) return NOTHING_TO_FREE;  // a reference that could not be counted was never taken

    CFiPrivateDataPtr last;  // destroyed after the lock is given back
    const std::lock_guard lock(m_mutex);
    CMap& map = mapFor((*holder)->getIsAltNode());
    // The node's identity may have been replaced meanwhile; the object knows the name that it was entered under.
    const auto entry = map.find((*holder)->getKey());
    holder->release();
    if (entry != map.end() && isLastReference(entry->second)) {
        last = std::move(entry->second);
        map.erase(entry);
    }
    return 0;
}

CFiPrivateDataPtr CFiPrivateDataFactory::accessByName(const ACE_String_Base<char>& name, bool isAltNode)
{
    const std::string key = CFiStringTool::tstr2str(name);
    const std::lock_guard lock(m_mutex);
    const CMap& map = mapFor(isAltNode);
    const auto entry = map.find(key);
    return entry == map.end() ? CFiPrivateDataPtr() : entry->second;
}

std::vector<CFiPrivateDataPtr> CFiPrivateDataFactory::getPrivateDataList(bool isAltNode)
{
    std::vector<CFiPrivateDataPtr> list;
    const std::lock_guard lock(m_mutex);
    for (const auto& entry : mapFor(isAltNode)) {
        list.push_back(entry.second);
    }
    return list;
}

CFiPrivateDataManager::CFiPrivateDataManager()
    : m_factory(CFiPrivateDataFactoryPtr(new CFiPrivateDataConcreteFactory<CFiPrivateData>()))
{
}

CFiPrivateDataManager::~CFiPrivateDataManager() = default;

void CFiPrivateDataManager::registerFactory(const CFiPrivateDataFactoryPtr& factory)
{
    CFiPrivateDataFactoryPtr replaced = factory;  // takes the former one below, and destroys it without the lock
    if (!replaced) return;
    const std::lock_guard lock(m_mutex);
    if (m_traceLog) factory->registerTraceLog(m_traceLog);
    m_factory.swap(replaced);
}

CFiPrivateDataFactoryPtr CFiPrivateDataManager::getFactory() const
{
    const std::lock_guard lock(m_mutex);
    return m_factory;
}

CFiPrivateDataPtr CFiPrivateDataManager::allocate(obz_domain* domain, bool isAltNode)
{
    const CFiPrivateDataFactoryPtr factory = getFactory();
    return factory ? factory->allocate(domain, isAltNode) : CFiPrivateDataPtr();
}

CFiPrivateDataPtr CFiPrivateDataManager::access(obz_domain* domain)
{
    const CFiPrivateDataFactoryPtr factory = getFactory();
    return factory ? factory->access(domain) : CFiPrivateDataPtr();
}

uint32_t CFiPrivateDataManager::deallocate(obz_domain* domain)
{
    const CFiPrivateDataFactoryPtr factory = getFactory();
    return factory ? factory->deallocate(domain) : CFiPrivateDataFactory::NOTHING_TO_FREE;
}

CFiPrivateDataPtr CFiPrivateDataManager::accessByName(const ACE_String_Base<char>& name, bool isAltNode)
{
    const CFiPrivateDataFactoryPtr factory = getFactory();
    return factory ? factory->accessByName(name, isAltNode) : CFiPrivateDataPtr();
}

void CFiPrivateDataManager::registerTraceLog(const CFiTraceLogPtr& traceLog)
{
    const std::lock_guard lock(m_mutex);
    CFiTraceable::registerTraceLog(traceLog);
    if (m_factory) m_factory->registerTraceLog(traceLog);
}

}  // namespace obzx_pdk_4_4
