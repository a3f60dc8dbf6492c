#include "framework/include/obzx_runtime.h"
#include "framework/src/memory/text_copy.h"

using obzx_pdk_4_4::copyText;

namespace {

template <class T>
T* allocateRecord()
{
    return static_cast<T*>(obzx_alloc_buf(sizeof(T)));
}

// False when a text that is there could not be copied.
bool copyField(char*& field, const char* text)
{
    field = copyText(text);
    return field != nullptr || text == nullptr;
}

bool copyAttributes(obz_provider_list& node, const char* const* attributes, int32_t count)
{
    if (attributes == nullptr || count <= 0) return true;
    node.attributes = static_cast<char**>(obzx_alloc_buf(static_cast<size_t>(count) * sizeof(char*)));
    if (node.attributes == nullptr) return false;
    for (; node.attribute_count < count; ++node.attribute_count) {
        const char* attribute = attributes[node.attribute_count];
        char* copy = copyText(attribute == nullptr ? "" : attribute);
        if (copy == nullptr) return false;
        node.attributes[node.attribute_count] = copy;
    }
    return true;
}

}  // namespace

obz_provider_list* obzx_build_providerlist_node(const char* name, int32_t kind, int32_t level,
                                                const uint16_t version[4], const char* const* attributes,
                                                int32_t attribute_count)
{
    if (name == nullptr) return nullptr;
    auto* node = allocateRecord<obz_provider_list>();
    if (node == nullptr) return nullptr;
    node->kind = kind;
    node->level = level;
    for (size_t i = 0; version != nullptr && i < 4; ++i) {
        node->version[i] = version[i];
    }
    if (!copyField(node->name, name) || !copyAttributes(*node, attributes, attribute_count)) {
        obzx_free_provider_list(node);
        return nullptr;
    }
    return node;
}

obz_fim_list* obzx_build_fim_list_node(const char* name, const char* version, const char* provider)
{
    if (name == nullptr) return nullptr;
    auto* node = allocateRecord<obz_fim_list>();
    if (node == nullptr) return nullptr;
    if (!copyField(node->name, name) || !copyField(node->version, version) || !copyField(node->provider, provider)) {
        obzx_free_fim_list(node);
        return nullptr;
    }
    return node;
}

void obzx_free_provider_list(obz_provider_list* list)
{
    while (list != nullptr) {
        obz_provider_list* next = list->next;
        obzx_free_buf(list->name, 0);
        for (int32_t i = 0; list->attributes != nullptr && i < list->attribute_count; ++i) {
            obzx_free_buf(list->attributes[i], 0);
        }
        obzx_free_buf(list->attributes, 0);
        obzx_free_buf(list, sizeof(*list));
        list = next;
    }
}

void obzx_free_fim_list(obz_fim_list* list)
{
    while (list != nullptr) {
        obz_fim_list* next = list->next;
        obzx_free_buf(list->name, 0);
        obzx_free_buf(list->version, 0);
        obzx_free_buf(list->provider, 0);
        obzx_free_buf(list, sizeof(*list));
        list = next;
    }
}

void obzx_free_snaphandle(obz_snaphandle* handle)
{
    if (handle == nullptr) return;
    for (int32_t i = 0; handle->entries != nullptr && i < handle->count; ++i) {
        obzx_free_buf(handle->entries[i].node, 0);
        obzx_free_buf(handle->entries[i].target, 0);
    }
    obzx_free_buf(handle->entries, 0);
    handle->entries = nullptr;
    handle->count = 0;
}

void obzx_free_confspec(obz_confspec* list)
{
    while (list != nullptr) {
        obz_confspec* next = list->next;
        obzx_free_buf(list->name, 0);
        obzx_free_buf(list->type, 0);
        obzx_free_buf(list->value, 0);
        obzx_free_buf(list->help, 0);
        obzx_free_buf(list, sizeof(*list));
        list = next;
    }
}
