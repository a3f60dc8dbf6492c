#pragma once

#include <ace/Thread_Mutex.h>

#include <cstdint>

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/**
 * Base of every counted class: a count that starts at 0 and the lock under which counted pointers change it.
 * increment(), decrement() and getCount() do not lock; CFiSmartPtr calls them with the lock held.
 */
class OBZX_API CFiRefCount
{
  public:
    CFiRefCount() = default;
    CFiRefCount(const CFiRefCount&) = delete;
    CFiRefCount& operator=(const CFiRefCount&) = delete;
    virtual ~CFiRefCount();

    virtual void increment();
    virtual int32_t decrement();  ///< the count after decrementing
    virtual int32_t getCount();

    ACE_Thread_Mutex& countLock() { return m_countLock; }

  private:
    int32_t m_count = 0;
    ACE_Thread_Mutex m_countLock;
};

}  // namespace obzx_pdk_4_4
