#pragma once

#include <memory>

#include "framework/include/obz_records.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// The name of a node's object; empty when the node or its identity is missing, or has no name.
CString nameOf(const obz_domain* node);

/// Owns an identity until it is handed out.
struct SIdentityDeleter
{
    void operator()(obzx_objid* identity) const;
};
using CIdentityPtr = std::unique_ptr<obzx_objid, SIdentityDeleter>;

/// New identity of a device with that name; null when there is no memory.
CIdentityPtr newIdentity(const CString& name);

/**
 * The identities of the groups that an interposed node belongs to: all of them, or null when there is no memory for
 * one. For obzx_free_objid_array.
 */
obzx_objid** newGroupList(const CString* names, int32_t count);

}  // namespace cdpfi
