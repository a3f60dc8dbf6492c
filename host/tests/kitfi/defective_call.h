#pragma once

#include <string_view>
#include <type_traits>
#include <utility>

#include "host/src/provider_check/word.h"
#include "host/tests/kitfi/defects.h"

namespace kitfi {

using fictl::fromWord;
using fictl::toWord;

/// Bit I: the I-th type fits.
template <class... Fits>
constexpr uint64_t bitsOf(Fits... fits)
{
    uint64_t bits = 0;
    uint64_t bit = 1;
    ((bits |= fits ? bit : 0, bit <<= 1U), ...);
    return bits;
}

template <class T>
constexpr bool isText()
{
    return std::is_same_v<T, const char*> || std::is_same_v<T, char*>;
}

inline void act(Action action, SCall& call)
{
    if (action != nullptr) action(call);
}

/// The defect of this process, if it shows in this call.
inline const SDefect* defectIn(const SCall& call)
{
    const SDefect* const defect = chosenDefect();
    if (defect == nullptr) return nullptr;
    const std::string_view function = defect->function;
    const bool isHere = function.empty() || function == call.function;
    return isHere && defect->when(call) ? defect : nullptr;
}

template <class Result, class... Params, size_t... I>
int64_t ask(Result (*good)(Params...), const uint64_t* words, std::index_sequence<I...>)
{
    if constexpr (std::is_void_v<Result>) {
        good(fromWord<Params>(words[I])...);
        return 0;
    } else {
        return good(fromWord<Params>(words[I])...);
    }
}

/// Calls a function of the good provider as one that has the defect of this process.
template <class Result, class... Params>
Result callWithDefect(const char* function, Result (*good)(Params...), std::type_identity_t<Params>... params)
{
    uint64_t words[] = {toWord(params)..., 0};
    SCall call = {function, words, sizeof...(Params), bitsOf(std::is_pointer_v<Params>...),
                  bitsOf(isText<Params>()...)};
    enter(call);
    const SDefect* const defect = defectIn(call);
    if (defect != nullptr) act(defect->before, call);
    if (!call.isAnswered) call.status = ask(good, words, std::index_sequence_for<Params...>());
    if (defect != nullptr) act(defect->after, call);
    leave(call);
    return static_cast<Result>(call.status);
}

}  // namespace kitfi
