#pragma once

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "host/tests/kitfi/defects.h"

// What many of the defects have in common.
namespace kitfi {

inline bool always(const SCall&)
{
    return true;
}
inline bool withANull(const SCall& call)
{
    for (size_t i = 0; i < call.count; ++i) {
        if (call.isPointer(i) && call.words[i] == 0) return true;
    }
    return false;
}
inline bool withNothing(const SCall& call)
{
    for (size_t i = 0; i < call.count; ++i) {
        if (call.isPointer(i) && call.words[i] != 0) return false;
    }
    return true;
}
inline bool withANumberBelow0(const SCall& call)
{
    for (size_t i = 0; i < call.count; ++i) {
        if (!call.isPointer(i) && static_cast<int64_t>(call.words[i]) < 0) return true;
    }
    return false;
}
inline bool withALongText(const SCall& call)
{
    for (size_t i = 0; i < call.count; ++i) {
        if (call.isText(i) && call.words[i] != 0 && std::strlen(call.pointer<char>(i)) > 1000) return true;
    }
    return false;
}
inline bool beforeInit(const SCall&)
{
    return soFar().inits == 0;
}
inline bool afterFini(const SCall&)
{
    return soFar().finis > 0 && !soFar().isLive && soFar().inits > 0;
}
inline bool asTheFirstCall(const SCall&)
{
    return soFar().inits == 0 && soFar().finis == 0;
}
inline bool inALaterLife(const SCall&)
{
    return soFar().lives > 1;
}
inline bool afterFiveCalls(const SCall&)
{
    return soFar().calls > 5;
}

inline void crash(SCall&)
{
    raise(SIGSEGV);
}
[[noreturn]] inline void hang(SCall&)
{
    for (;;) {
        pause();
    }
}
inline void fail(SCall&)
{
    throw std::runtime_error("kitfi has a defect");
}
template <int64_t Status>
void answer(SCall& call)
{
    call.answer(Status);
}
template <int64_t Status>
void change(SCall& call)
{
    call.status = Status;
}
inline void leak(SCall&)
{
    static void* volatile kept = nullptr;
    kept = std::malloc(64);
    if (kept == nullptr) std::abort();
}
/// Stores something in the output at a place.
template <size_t Place, class T, T Value>
void store(SCall& call)
{
    if (call.words[Place] != 0) *call.pointer<T>(Place) = Value;
}

}  // namespace kitfi
