/*
 * C functions of the framework runtime (libobzx_pdk.so), for hosts and providers. All may be called from any thread;
 * none throws. A null where an object is needed makes a function do nothing and return null, 0 or what its line says.
 */
#ifndef OBZX_RUNTIME_H
#define OBZX_RUNTIME_H

#include "framework/include/obz_records.h"
#include "framework/include/obzx_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A zeroed buffer that crosses the interface; null when there is no memory. A size of 0 gives a valid empty buffer. */
OBZX_API void* obzx_alloc_buf(size_t size);
/* Frees it. The size is the allocation's, or 0 where the caller does not know it. */
OBZX_API void obzx_free_buf(void* buffer, size_t size);

/* A new identity with a copy of the name: at most size bytes (NUL included; 0: all of it). Null for a null name. */
OBZX_API obzx_objid* obzx_get_objid(const char* name, int32_t size, int32_t type);
OBZX_API void obzx_free_objid(obzx_objid* identity);
/* Frees an array of identities as interpose, claim and make hand it out, and every identity in it. */
OBZX_API void obzx_free_objid_array(obzx_objid** identities, int32_t count);
/* 0 when both have the same type and name; two nulls, or two null names, are the same. */
OBZX_API int32_t obzx_objidcmp(const obzx_objid* a, const obzx_objid* b);

/* New list nodes with copies of all texts, next link null; null when there is no memory. */
OBZX_API obz_provider_list* obzx_build_providerlist_node(const char* name, int32_t kind, int32_t level,
                                                         const uint16_t version[4], const char* const* attributes,
                                                         int32_t attribute_count);
OBZX_API obz_fim_list* obzx_build_fim_list_node(const char* name, const char* version, const char* provider);
OBZX_API void obzx_free_provider_list(obz_provider_list* list);
OBZX_API void obzx_free_fim_list(obz_fim_list* list);

/* Frees what update_snapshot_handle put into the handle and empties it; the record itself is the caller's. */
OBZX_API void obzx_free_snaphandle(obz_snaphandle* handle);
/* Frees the texts of a list of parameters that config or the global configuration list handed out. */
OBZX_API void obzx_free_confspec(obz_confspec* list);

/* Where a path of this system lies on this host: below the directory that OBZX_ROOT names, or as it stands when that
 * is unset. A buffer for obzx_free_buf. */
OBZX_API char* obzx_place_path(const char* path);

/* A value of a component's configuration store (/etc/qz/<component>.conf below the root directory), read anew by each
 * call; null when it is not there or there is no memory. A buffer for obzx_free_buf. */
OBZX_API char* obzx_get_setting(const char* component, const char* section, const char* name);

/* Receives each trace line of every provider in the process whose level is at most the one asked for, in addition to
 * the trace file and whatever the file's own level: lines of one thread arrive in order, on that thread. Must not call
 * into a provider. */
typedef void (*obzx_trace_observer)(void* user, int32_t level, const char* component, const char* text);
/* One observer a process; a null function removes it, and returns once no call of it is running. */
OBZX_API void obzx_set_trace_observer(obzx_trace_observer observer, void* user, int32_t level);

#ifdef __cplusplus
}
#endif

#endif
