#include "providers/cdp/cdp_operation.h"

namespace cdpfi {

void traceUnhandled(const obzx_pdk_4_4::CFiTraceLogPtr& log, const char* operation) noexcept
{
    try {
        if (log) log->trace(obzx_pdk_4_4::TRACE_FAILURE, obzx_pdk_4_4::TRACE_UNHANDLED, operation);
    } catch (...) {
        // Without memory for the line the status alone has to tell.
        return;
    }
}

bool isClaimed(const obzx_pdk_4_4::CFiTraceable& log, bool found, const char* operation, const char* kind,
               const CString& device)
{
    if (!found) {
        log.trace(obzx_pdk_4_4::TRACE_FAILURE, "CCDPPlugin::%s - Could not get claiming %s for [%s]", operation, kind,
                  device);
    }
    return found;
}

}  // namespace cdpfi
