#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/include/obz_entry_points.h"
#include "pdk/tests/host_objects.h"
#include "pdk/tests/loaded_provider.h"
#include "pdk/tests/testfi/testfi_record.h"

namespace pdktest {

using CWords = std::vector<uint64_t>;

template <class T>
T fromWord(uint64_t word)
{
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(word);
    } else {
        return static_cast<T>(static_cast<int64_t>(word));
    }
}

/// How to call an entry point whose type is known only by name; made from the types of the public header.
struct SEntryType
{
    std::string name;
    bool hasResult;
    std::vector<bool> isPointer;
    CWords (*validArguments)(CHostObjects& objects);
    int64_t (*invoke)(void* function, const CWords& words);
};

template <class Function>
struct SEntryTypeOf;

template <class Result, class... Params>
struct SEntryTypeOf<Result(Params...)>
{
    template <size_t... I>
    static int64_t invokeWith(void* function, const CWords& words, std::index_sequence<I...>)
    {
        auto* const entry = reinterpret_cast<Result (*)(Params...)>(function);
        if constexpr (std::is_void_v<Result>) {
            entry(fromWord<Params>(words[I])...);
            return 0;
        } else {
            return entry(fromWord<Params>(words[I])...);
        }
    }
    static int64_t invoke(void* function, const CWords& words)
    {
        return invokeWith(function, words, std::index_sequence_for<Params...>());
    }
    static CWords validArguments(CHostObjects& objects) { return CWords{testfi::toWord(objects.make<Params>())...}; }
    static SEntryType describe(const char* name)
    {
        return {name, !std::is_void_v<Result>, {std::is_pointer_v<Params>...}, validArguments, invoke};
    }
};

/// All entry points, in the order of the public header.
inline const std::vector<SEntryType>& entryTypes()
{
#define PDK_TEST_ENTRY(op) SEntryTypeOf<obzx_fi_##op##_fn>::describe(#op),
    static const std::vector<SEntryType> types = {OBZX_FI_ENTRY_POINTS(PDK_TEST_ENTRY)};
#undef PDK_TEST_ENTRY
    return types;
}

/**
 * What the public header says about an entry point, written down by hand. A parameter is
 *   n  a pointer that must not be null        o  a pointer that may be null
 *   i  a number                               z  a number that must be 0
 */
struct SEntryFacts
{
    std::string_view name;
    std::string_view operation;  // what it calls first; empty: nothing
    bool isGated;
    std::string_view parameters;
    int32_t nullStatus;     // for a null pointer that must not be null
    int32_t defaultStatus;  // from the framework's own operation
};

extern const std::array<SEntryFacts, OBZX_FI_ENTRY_POINT_COUNT> ENTRY_FACTS;

const SEntryFacts& factsOf(std::string_view name);

/// Valid arguments for an entry point.
CWords validArguments(const SEntryType& type, CHostObjects& objects);

}  // namespace pdktest
