#include "providers/cdp/cdp_identities.h"

#include "framework/include/obzx_runtime.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

CString nameOf(const obz_domain* node)
{
    if (node == nullptr || node->identity == nullptr || node->identity->name == nullptr) return {};
    return textOf(node->identity->name);
}

void SIdentityDeleter::operator()(obzx_objid* identity) const
{
    obzx_free_objid(identity);
}

CIdentityPtr newIdentity(const CString& name)
{
    return CIdentityPtr(obzx_get_objid(name.c_str(), static_cast<int32_t>(name.length() + 1), OBZ_OBJID_TYPE_DEVICE));
}

obzx_objid** newGroupList(const CString* names, int32_t count)
{
    const auto entries = static_cast<size_t>(count);
    const size_t size = entries * sizeof(obzx_objid*);
    auto** list = static_cast<obzx_objid**>(obzx_alloc_buf(size));
    if (list == nullptr) return nullptr;
    for (size_t i = 0; i < entries; ++i) {
        list[i] = newIdentity(names[i]).release();
        if (list[i] != nullptr) continue;
        for (size_t made = 0; made < i; ++made) {
            obzx_free_objid(list[made]);
        }
        obzx_free_buf(list, size);
        return nullptr;
    }
    return list;
}

}  // namespace cdpfi
