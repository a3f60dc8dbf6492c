#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "framework/include/obzx_runtime.h"
#include "framework/src/memory/text_copy.h"

using obzx_pdk_4_4::copyText;

void* obzx_alloc_buf(size_t size)
{
    // No object can be larger; a negative size that was converted on the way here ends up above it, too.
    if (size > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return std::calloc(1, size == 0 ? 1 : size);
}

void obzx_free_buf(void* buffer, size_t /*size*/)
{
    std::free(buffer);
}

obzx_objid* obzx_get_objid(const char* name, int32_t size, int32_t type)
{
    if (name == nullptr || size < 0) return nullptr;
    const size_t length = size == 0 ? std::strlen(name) : ::strnlen(name, static_cast<size_t>(size) - 1);
    if (length >= static_cast<size_t>(INT32_MAX)) return nullptr;
    auto* identity = static_cast<obzx_objid*>(obzx_alloc_buf(sizeof(obzx_objid)));
    if (identity == nullptr) return nullptr;
    identity->name = copyText({name, length});
    if (identity->name == nullptr) {
        obzx_free_buf(identity, sizeof(obzx_objid));
        return nullptr;
    }
    identity->size = static_cast<int32_t>(length) + 1;
    identity->type = type;
    return identity;
}

void obzx_free_objid(obzx_objid* identity)
{
    if (identity == nullptr) return;
    obzx_free_buf(identity->name, 0);
    obzx_free_buf(identity, sizeof(obzx_objid));
}

void obzx_free_objid_array(obzx_objid** identities, int32_t count)
{
    if (identities == nullptr) return;
    for (int32_t i = 0; i < count; ++i) {
        obzx_free_objid(identities[i]);
    }
    obzx_free_buf(identities, 0);
}

int32_t obzx_objidcmp(const obzx_objid* a, const obzx_objid* b)
{
    if (a == b) return 0;
    if (a == nullptr || b == nullptr || a->type != b->type) return 1;
    if (a->name == b->name) return 0;
    if (a->name == nullptr || b->name == nullptr) return 1;
    return std::strcmp(a->name, b->name) == 0 ? 0 : 1;
}
