#include "framework/src/operation.h"

namespace obzx_pdk_4_4 {

void traceUnhandled(const CFiTraceable& owner, const char* operation) noexcept
{
    try {
        // The line is spelled as log readers know it.
        owner.trace(TRACE_FAILURE, "%s(): Unhandled execption encountered, exiting the function", operation);
    } catch (...) {
        return;  // no memory for the line: the status alone tells
    }
}

}  // namespace obzx_pdk_4_4
