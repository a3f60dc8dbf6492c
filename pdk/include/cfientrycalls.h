#pragma once

#include <ace/Guard_T.h>
#include <ace/Recursive_Thread_Mutex.h>

#include <cstring>

#include "pdk/include/cfientryguard.h"
#include "pdk/include/cfiobjctlargs.h"

namespace obzx_pdk_4_4 {

/// Steps of the single calls that do more than pass their arguments on.
template <class Plugin>
struct FI_PRIVATE CFiEntryCalls
{
    /// The whole call, delayed initialisation included, runs under the plug-in's mutex. A provider that could not
    /// finish its initialisation may still interpose, so the failure of that is ignored.
    static int32_t interpose(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* groupCount)
    {
        clearOutputs(interposed, groups, groupCount);
        const auto plugin = CFiContext::fetch<Plugin>();
        if (!plugin) return 0;
        const ACE_Guard<ACE_Recursive_Thread_Mutex> guard(plugin->getMutex());
        plugin->invokeDelayedInit();
        return plugin->interpose(node, interposed, groups, groupCount);
    }

    /// The result says only whether the request reached the plug-in; the plug-in's own goes into status. Null outputs
    /// are not written. reply is for free.
    static int32_t objctl(const char* name, char* request, char** reply, int64_t* status)
    {
        clearOutputs(reply, status);
        CFiObjctlArgs args;
        args.importArgs(request);
        const auto plugin = CFiContext::fetch<Plugin>();
        if (!plugin) return OBZ_ERR_FAILED;
        const ACE_String_Base<char> object(name);
        // Left empty for lack of memory: another object than the one asked for.
        if (name != nullptr && object.length() != std::strlen(name)) return OBZ_ERR_FAILED;
        const int64_t outcome = plugin->objctl(object, args);
        if (status != nullptr) *status = outcome;
        return reply == nullptr ? OBZ_OK : CFiContext::ownStep([&] { return storeReply(args, reply); });
    }

  private:
    static int32_t storeReply(const CFiObjctlArgs& args, char** reply)
    {
        *reply = strdup(args.exportArgs().c_str());  // the host frees it with free
        return *reply == nullptr ? OBZ_ERR_FAILED : OBZ_OK;
    }
};

}  // namespace obzx_pdk_4_4
