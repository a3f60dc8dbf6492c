#pragma once

#include <cstdint>
#include <utility>

#include "framework/include/cfitrace.h"
#include "framework/include/obz_records.h"

namespace obzx_pdk_4_4 {

/// Whether an object that an operation needs is missing.
template <class... P>
bool anyNull(const P*... objects)
{
    return ((objects == nullptr) || ...);
}

/// Whether a list cannot be what its count says.
template <class T>
bool isBadList(T** list, int64_t count)
{
    return list == nullptr && count > 0;
}

/// Sets an output to null or 0, where there is one.
template <class T>
void clear(T* output)
{
    if (output != nullptr) *output = T{};
}

/// The answer of a query whose outputs are cleared, and of a notification.
inline int32_t done(bool isBad)
{
    return isBad ? OBZ_ERR_INVALID_ARG : OBZ_OK;
}

/// The answer of a query with one output and nothing to tell.
template <class T, class... P>
int32_t nothing(T* output, const P*... needed)
{
    clear(output);
    return done(anyNull(output, needed...));
}

/// The answer of an action that only a provider can carry out.
inline int32_t unsupported(bool isBad)
{
    return isBad ? OBZ_ERR_INVALID_ARG : OBZ_ERR_UNSUPPORTED;
}

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
