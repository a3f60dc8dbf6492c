#pragma once

#include <cstdint>
#include <utility>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// One operation of the plug-in: its name as the trace shows it, and where it stands.
struct SOperation
{
    const char* m_name;
    int32_t m_line;
    const char* m_file;
};

/// Traces that an exception ended an operation; never throws.
void traceUnhandled(const obzx_pdk_4_4::CFiTraceLogPtr& log, const char* operation) noexcept;

/**
 * The top of an operation: traces its life and runs its body. An exception from anywhere below is traced at level 1,
 * and the operation answers with its failure value.
 */
template <class Body>
int32_t runOperation(const obzx_pdk_4_4::CFiTraceLogPtr& log, const SOperation& operation, int32_t failure,
                     Body&& body) noexcept
{
    try {
        const obzx_pdk_4_4::CFiTraceLogFunction tracer(log, operation.m_name, operation.m_line, operation.m_file);
        try {
            return std::forward<Body>(body)();
        } catch (...) {
            traceUnhandled(log, operation.m_name);
            return failure;
        }
    } catch (...) {
        // The tracer itself found no memory.
        return failure;
    }
}

/// Whether the appliance or group that claims a device is there; traced at level 1 when it is not.
bool isClaimed(const obzx_pdk_4_4::CFiTraceable& log, bool found, const char* operation, const char* kind,
               const CString& device);

}  // namespace cdpfi

/// The operation that begins here.
#define CDP_OPERATION(name) (cdpfi::SOperation{(name), __LINE__, __FILE__})
