/* The records and the C functions of the runtime as a C11 compiler sees them; the headers check most of it. */
#include "framework/include/obz_records.h"
#include "framework/include/obzx_runtime.h"

_Static_assert(sizeof(((obz_domain*)0)->identity) == 8, "obz_domain.identity is a pointer");
_Static_assert(sizeof(*((obz_domain*)0)->access) == 4, "obz_domain.access points at 32 bits");
_Static_assert(sizeof(((obz_blob*)0)->size) == 8, "obz_blob.size is 64 bits wide");
_Static_assert(sizeof(((obz_blob*)0)->encoding) == 4, "obz_blob.encoding is 32 bits wide");
_Static_assert(sizeof(((obz_version*)0)->version) == 2, "obz_version.version is 16 bits wide");
_Static_assert(offsetof(obz_provider_list, next) + sizeof(void*) == sizeof(obz_provider_list), "next is last");
_Static_assert(offsetof(obz_fim_list, next) + sizeof(void*) == sizeof(obz_fim_list), "next is last");
_Static_assert(OBZ_INTERFACE_VERSION == 7, "interface version");
_Static_assert(OBZ_ACCESS_NONE == 0 && OBZ_ACCESS_LOCAL == 1 && OBZ_ACCESS_REMOTE == 2, "access values");
_Static_assert(OBZ_CLAIM_SECONDARY == 2, "claim values");
_Static_assert(offsetof(obzx_run, size) == 0, "obzx_run.size is first");
_Static_assert(sizeof(((obzx_run*)0)->process) == 8, "obzx_run.process is 64 bits wide");
_Static_assert(OBZX_RUN_STARTED == 1 && OBZX_RUN_ENDED == 2, "phases of a run");
_Static_assert(OBZX_RUN_STOPPED_BY_LIMIT == 1 && OBZX_RUN_STOPPED_BY_CANCEL == 2 && OBZX_RUN_STOPPED_BY_OUTPUT == 3,
               "what stops a run");

/* Makes and frees one identity from C; 0 when all went well. */
int recordLayoutUsesRuntime(void);

int recordLayoutUsesRuntime(void)
{
    obzx_objid* a = obzx_get_objid("disk", 0, OBZ_OBJID_TYPE_DEVICE);
    obzx_objid* b = obzx_get_objid("disk", 0, OBZ_OBJID_TYPE_DEVICE);
    int different = a == NULL || b == NULL || obzx_objidcmp(a, b) != 0;
    obzx_free_objid(a);
    obzx_free_objid(b);
    return different;
}
