#include "framework/include/cfipluginbase.h"

#include <ace/Guard_T.h>

#include <new>

namespace obzx_pdk_4_4 {

CFiPluginBase::CFiPluginBase() = default;
CFiPluginBase::~CFiPluginBase() = default;

int32_t CFiPluginBase::delayedInit()
{
    return OBZ_OK;
}
int32_t CFiPluginBase::init()
{
    return OBZ_OK;
}
int32_t CFiPluginBase::fini()
{
    return OBZ_OK;
}

int32_t CFiPluginBase::invokeDelayedInit()
{
    // The flag is set before delayedInit runs, so a look at it without the mutex would let a second caller pass while
    // the first one is still initialising.
    const ACE_Guard<ACE_Recursive_Thread_Mutex> guard(m_mutex);
    if (!guard.locked()) return OBZ_ERR_DELAYED_INIT;
    if (m_delayedInitDone != 0) return OBZ_OK;
    m_delayedInitDone = 1;
    return delayedInit();
}

bool CFiPluginBase::isShuttingDown(bool set)
{
    if (set) m_shuttingDown = true;
    return m_shuttingDown;
}

void CFiPluginBase::setProviderName(const ACE_String_Base<char>& name)
{
    m_providerName = name;
    if (m_providerName != name) throw std::bad_alloc();  // the text class leaves the name as it was without a word
}

}  // namespace obzx_pdk_4_4
