#include "framework/src/plugin/default_operation.h"

namespace obzx_pdk_4_4 {

void traceUnhandled(const CFiTraceable& owner, const char* operation) noexcept
{
    try {
        owner.trace(TRACE_FAILURE, TRACE_UNHANDLED, operation);
    } catch (...) {
        return;  // no memory for the line: the status alone tells
    }
}

}  // namespace obzx_pdk_4_4
