#pragma once

#include <ace/Guard_T.h>
#include <ace/Thread_Mutex.h>

#include "framework/include/cfismartptr.h"
#include "pdk/include/cfipluginname.h"

namespace obzx_pdk_4_4 {

/**
 * One object of class T for each tag in each loaded provider, made when it is first asked for.
 *
 * The holder and its mutex are statics of the library that this header is compiled into. They stay private to it
 * because the class is hidden and because providers are built with -fno-gnu-unique: a unique symbol would be shared by
 * all libraries of a process and would keep dlclose from unloading any of them.
 */
template <class T, class Tag>
class FI_PRIVATE CFiContextSingleton
{
  public:
    using CPointer = CFiSmartPtr<T, CFiContextSingletonAllocator<T>>;

    /**
     * The object, made now if there is none; with destroy, the holder's reference to it is given back and the result
     * is empty. The next call without destroy makes a fresh object.
     *
     * Any thread may call it; T's constructor, and its destructor when the holder had the last reference, run under
     * the mutex and must not ask for the same singleton. When the mutex cannot be locked, errno is set, nothing is made
     * or destroyed, and the result is a copy of the holder, which may be empty.
     *
     * @throw whatever T's constructor throws; there is then no object, and the next call tries again
     */
    static CPointer instance(bool destroy = false)
    {
        static CPointer holder;
        static ACE_Thread_Mutex mutex;

        const ACE_Guard<ACE_Thread_Mutex> guard(mutex);
        if (!guard.locked()) return holder;  // errno is set by the lock
        if (destroy) {
            holder.release();
            return CPointer();
        }
        if (!holder) holder = CPointer(true);
        return holder;
    }
};

}  // namespace obzx_pdk_4_4
