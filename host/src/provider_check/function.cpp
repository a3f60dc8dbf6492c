#include "host/src/provider_check/function.h"

#include <sstream>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "host/src/provider_check/function_facts.h"

namespace fictl {

namespace {

template <class T, class... Others>
constexpr bool isOneOf()
{
    return (std::is_same_v<T, Others> || ...);
}

template <class T>
constexpr EValue valueOf()
{
    if constexpr (!std::is_pointer_v<T>) {
        return EValue::NUMBER;
    } else if constexpr (isOneOf<T, const char*, char*>()) {
        return EValue::TEXT;
    } else if constexpr (isOneOf<T, char**>()) {
        return EValue::TEXTS;
    } else if constexpr (isOneOf<T, obz_domain*>()) {
        return EValue::NODE;
    } else if constexpr (isOneOf<T, obz_domain**>()) {
        return EValue::NODES;
    } else if constexpr (isOneOf<T, obz_splitnode*>()) {
        return EValue::SPLIT_NODE;
    } else if constexpr (isOneOf<T, obz_splitnode**>()) {
        return EValue::SPLIT_NODES;
    } else if constexpr (isOneOf<T, obzx_objid*>()) {
        return EValue::IDENTITY;
    } else if constexpr (isOneOf<T, obzx_objid**>()) {
        return EValue::IDENTITIES;
    } else if constexpr (isOneOf<T, obz_context*>()) {
        return EValue::CONTEXT;
    } else if constexpr (isOneOf<T, obz_msg_info*, const obz_msg_info*>()) {
        return EValue::MESSAGE;
    } else if constexpr (isOneOf<T, obz_host_infn*>()) {
        return EValue::HOSTS;
    } else if constexpr (isOneOf<T, int32_t*>()) {
        return EValue::SMALL_NUMBER;
    } else if constexpr (isOneOf<T, int64_t*, long*>()) {
        return EValue::LARGE_NUMBER;
    } else if constexpr (isOneOf<T, obz_blob*>()) {
        return EValue::BLOB;
    } else if constexpr (isOneOf<T, obz_snaphandle*>()) {
        return EValue::HANDLE;
    } else if constexpr (isOneOf<T, obz_version*>()) {
        return EValue::VERSION;
    } else if constexpr (std::is_pointer_v<std::remove_pointer_t<T>>) {
        return EValue::REFERENCE;
    } else {
        return EValue::RECORD;
    }
}

ENull nullOf(char mark)
{
    switch (mark) {
        case '!':
            return ENull::IS_REFUSED;
        case '?':
            return ENull::IS_ACCEPTED;
        case '*':
            return ENull::IS_REFUSED_WITH_A_COUNT;
        default:
            return ENull::IS_NONE;
    }
}

template <class Type>
struct SFunctionOf;

template <class Result, class... Params>
struct SFunctionOf<Result(Params...)>
{
    template <size_t... I>
    static int64_t invokeWith(void* address, const CWords& words, std::index_sequence<I...>)
    {
        auto* const function = reinterpret_cast<Result (*)(Params...)>(address);
        if constexpr (std::is_void_v<Result>) {
            function(fromWord<Params>(words.at(I))...);
            return 0;
        } else {
            return function(fromWord<Params>(words.at(I))...);
        }
    }
    static int64_t invoke(void* address, const CWords& words)
    {
        return invokeWith(address, words, std::index_sequence_for<Params...>());
    }

    static SFunction describe(size_t index)
    {
        const SFunctionFacts& facts = FUNCTION_FACTS.at(index);
        SFunction function = {index, std::string(facts.name), facts.isGated, !std::is_void_v<Result>, {}, invoke};
        std::istringstream words{std::string(facts.arguments)};
        for (const EValue value : std::vector<EValue>{valueOf<Params>()...}) {
            std::string word;
            words >> word;
            const bool isOutput = word.size() > 1 && word[1] == '>';
            function.arguments.push_back(
                {word.substr(isOutput ? 2 : 1), value, nullOf(word[0]), isOutput, word[0] == '0'});
        }
        return function;
    }
};

std::vector<SFunction> describeAll()
{
    std::vector<SFunction> all;
    all.reserve(OBZX_FI_ENTRY_POINT_COUNT);
#define FICTL_DESCRIBE(op) all.push_back(SFunctionOf<obzx_fi_##op##_fn>::describe(all.size()));
    OBZX_FI_ENTRY_POINTS(FICTL_DESCRIBE)
#undef FICTL_DESCRIBE
    return all;
}

std::string shownText(const char* text)
{
    constexpr size_t MOST = 60;
    const std::string_view all = text;
    return "\"" + std::string(all.substr(0, MOST)) + (all.size() > MOST ? "..." : "") + "\"";
}

std::string shownWord(const SArgument& argument, uint64_t word)
{
    if (argument.value == EValue::NUMBER) return std::to_string(static_cast<int64_t>(word));
    if (word == 0) return "null";
    const bool isReadable = argument.value == EValue::TEXT && !argument.isOutput;
    return isReadable ? shownText(fromWord<const char*>(word)) : argument.name;
}

}  // namespace

size_t SArgument::outputSize() const
{
    if (!isOutput) return 0;
    switch (value) {
        case EValue::SMALL_NUMBER:
            return sizeof(int32_t);
        case EValue::BLOB:
            return offsetof(obz_blob, encoding);
        case EValue::HANDLE:
            return offsetof(obz_snaphandle, count) + sizeof(int32_t);
        default:
            return sizeof(void*);
    }
}

size_t SFunction::placeOf(std::string_view argument) const
{
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i].name == argument) return i;
    }
    throw std::logic_error(name + " has no argument " + std::string(argument));
}

std::string SFunction::shown(const CWords& words) const
{
    std::string text = name + "(";
    for (size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : ", ") + shownWord(arguments[i], words[i]);
    }
    return text + ")";
}

const std::vector<SFunction>& functions()
{
    static const std::vector<SFunction> all = describeAll();
    return all;
}

const SFunction& functionCalled(std::string_view name)
{
    for (const SFunction& function : functions()) {
        if (function.name == name) return function;
    }
    throw std::logic_error("no function " + std::string(name));
}

}  // namespace fictl
