#pragma once

#include <cstdint>
#include <utility>

#include "framework/include/cfitrace.h"
#include "framework/include/obz_records.h"

namespace obzx_pdk_4_4 {

/// Traces that an exception ended an operation; never throws.
void traceUnhandled(const CFiTraceable& owner, const char* operation) noexcept;

/// Runs the body of a default operation that can meet an exception: it is traced and becomes OBZ_ERR_FAILED.
template <class Body>
int32_t runOperation(const CFiTraceable& owner, const char* operation, Body&& body) noexcept
{
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        traceUnhandled(owner, operation);
        return OBZ_ERR_FAILED;
    }
}

}  // namespace obzx_pdk_4_4
