#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/src/provider_check/word.h"

namespace fictl {

/// What an argument is, by its C type.
enum class EValue
{
    NUMBER,
    TEXT,
    TEXTS,         ///< char**
    NODE,          ///< obz_domain*
    NODES,         ///< obz_domain**
    SPLIT_NODE,    ///< obz_splitnode*
    SPLIT_NODES,   ///< obz_splitnode**
    IDENTITY,      ///< obzx_objid*
    IDENTITIES,    ///< obzx_objid**
    CONTEXT,       ///< obz_context*
    MESSAGE,       ///< obz_msg_info*
    HOSTS,         ///< obz_host_infn*
    REFERENCE,     ///< any other pointer to a pointer
    SMALL_NUMBER,  ///< int32_t*
    LARGE_NUMBER,  ///< int64_t*, long*
    BLOB,          ///< obz_blob*
    HANDLE,        ///< obz_snaphandle*
    VERSION,       ///< obz_version*
    RECORD,        ///< any other
};

enum class ENull
{
    IS_REFUSED,
    IS_ACCEPTED,
    IS_REFUSED_WITH_A_COUNT,  ///< when the count behind it is above 0
    IS_NONE,                  ///< a number
};

struct SArgument
{
    std::string name;
    EValue value;
    ENull null;
    bool isOutput;
    bool mustBeZero;

    bool isPointer() const { return null != ENull::IS_NONE; }
    /// Bytes of an output that are null or 0 when the call fails.
    size_t outputSize() const;
};

/// A function of the host interface, and how to call it by its words.
struct SFunction
{
    size_t index;
    std::string name;
    bool isGated;
    bool hasResult;
    std::vector<SArgument> arguments;
    int64_t (*invoke)(void* address, const CWords& words);

    size_t placeOf(std::string_view argument) const;
    /// The function with these arguments as people write it: init(null, version, "fim").
    std::string shown(const CWords& words) const;
};

/// All 77, in the order of the public header.
const std::vector<SFunction>& functions();
const SFunction& functionCalled(std::string_view name);

}  // namespace fictl
