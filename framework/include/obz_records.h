/*
 * Records and constants that cross the entry points of a provider. Plain C.
 *
 * Every record is laid out for a 64-bit platform. "reserved" fields belong to the framework: a provider neither reads
 * nor writes them. Memory that a provider hands out in a record comes from obzx_alloc_buf (obzx_runtime.h), so that the
 * host can free it. Texts are NUL-terminated bytes in the host's locale.
 */
#ifndef OBZ_RECORDS_H
#define OBZ_RECORDS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#define OBZ_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define OBZ_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* ---- Statuses ---------------------------------------------------------------------------------------------------- */

enum obz_status
{
    OBZ_OK = 0,
    OBZ_ERR_DELAYED_INIT = 1, /* delayed initialisation failed */
    OBZ_ERR_INVALID_ARG = 3,  /* a required argument is null or unusable */
    OBZ_USE_SESSION = 4,      /* an operation asks its entry point to go through the session */
    OBZ_ERR_UNSUPPORTED = 5,  /* default of an operation that only a provider can carry out */
    OBZ_ERR_FAILED = 6,       /* the operation failed */
    OBZ_ERR_VERSION = 7,      /* no interface-version record */
    OBZ_ERR_INIT = 30         /* the provider could not start */
};

/* ---- Constants --------------------------------------------------------------------------------------------------- */

enum
{
    OBZ_INTERFACE_VERSION = 7 /* of these records and entry points; obz_version::version */
};
/* Where a node's copy can be used: bits of the access value. */
enum
{
    OBZ_ACCESS_NONE = 0,  /* the method does not suit the node */
    OBZ_ACCESS_LOCAL = 1, /* on this host */
    OBZ_ACCESS_REMOTE = 2 /* on another one */
};
/* Results of claim. */
enum
{
    OBZ_CLAIM_NONE = 0,
    OBZ_CLAIM_SECONDARY = 2 /* the object is a node of the provider, put before one of the host's */
};
/* obzx_objid::type of every object that the providers of this system name. */
enum
{
    OBZ_OBJID_TYPE_DEVICE = 3
};
/* obz_blob::encoding. */
enum
{
    OBZ_ENCODING_STRING = 1 /* NUL-terminated text */
};

/* The last value (..._RANGE) of each enumeration below is never passed: it makes every 32-bit number that a C program
 * may pass a value of the type, so that C++ may look at it and refuse it. */

/* What becomes of a copy. */
typedef enum obz_disposition
{
    OBZ_DISP_KEEP = 0,
    OBZ_DISP_REMOVE = 1,
    OBZ_DISP_RANGE = INT32_MIN
} obz_disposition;
/* What a host of the C++ interface means to do with a copy; the entry points carry none. */
typedef enum obz_intent
{
    OBZ_INTENT_NONE = 0,
    OBZ_INTENT_DEPORT = 1,
    OBZ_INTENT_RANGE = INT32_MIN
} obz_intent;
/* Operations of process_providerstate: state into the node, and out of it. */
typedef enum obz_op_providerstate
{
    OBZ_STATE_SET = 0,
    OBZ_STATE_GET = 1,
    OBZ_STATE_RANGE = INT32_MIN
} obz_op_providerstate;
/* How serious a message is. */
typedef enum obz_eseverity
{
    OBZ_SEV_INFO = 0,
    OBZ_SEV_WARNING = 1,
    OBZ_SEV_ERROR = 2,
    OBZ_SEV_RANGE = INT32_MIN
} obz_eseverity;

/* ---- Node records ------------------------------------------------------------------------------------------------ */

/* Identity of an object; made by obzx_get_objid, freed by obzx_free_objid. */
typedef struct obzx_objid
{
    char* name;   /* device path, name of a node or group, target-device name */
    int32_t size; /* bytes of the name, its NUL included */
    int32_t type; /* OBZ_OBJID_TYPE_DEVICE */
} obzx_objid;

struct obz_domain;

/* One way to quiesce or split a node: the method's name (malloc), the node and the group node that it belongs to. */
typedef struct obz_combo_entry
{
    char* name;
    struct obz_domain* node;
    struct obz_domain* group;
} obz_combo_entry;

/* Quiesce/split combinations of a node; singly linked, each element and both entries allocated with malloc. */
typedef struct obz_combo
{
    struct obz_combo* next;
    obz_combo_entry* quiesce;
    obz_combo_entry* split;
} obz_combo;

/* One node of the host's object tree. The host allocates it, zeroed, and frees it after deinit_node. */
typedef struct obz_domain
{
    int32_t value; /* interposer's node value */
    int32_t reserved4;
    obzx_objid* identity; /* the object that the node stands for; the host's */
    void* reserved16;
    int32_t* access; /* where supports_fitype stores OBZ_ACCESS_*; the host's */
    void* reserved32[6];
    void* combo_tail_reserved; /* framework's; cleared by init_node together with the list head */
    obz_combo* combos;         /* list head; built by init_node whatever stood there, emptied by deinit_node */
    void* reserved96[6];
    void* private_data; /* holder owned by the private-data framework; null in a fresh node */
    char* name;         /* set by init_node to the identity's name; not owned */
} obz_domain;

OBZ_STATIC_ASSERT(sizeof(void*) == 8, "records are laid out for a 64-bit platform");
OBZ_STATIC_ASSERT(offsetof(obz_domain, value) == 0, "obz_domain.value");
OBZ_STATIC_ASSERT(offsetof(obz_domain, identity) == 8, "obz_domain.identity");
OBZ_STATIC_ASSERT(offsetof(obz_domain, access) == 24, "obz_domain.access");
OBZ_STATIC_ASSERT(offsetof(obz_domain, combo_tail_reserved) == 80, "obz_domain.combo_tail_reserved");
OBZ_STATIC_ASSERT(offsetof(obz_domain, combos) == 88, "obz_domain.combos");
OBZ_STATIC_ASSERT(offsetof(obz_domain, private_data) == 144, "obz_domain.private_data");
OBZ_STATIC_ASSERT(offsetof(obz_domain, name) == 152, "obz_domain.name");
OBZ_STATIC_ASSERT(offsetof(obz_domain, reserved4) == 4, "obz_domain.value is 32 bits wide");
OBZ_STATIC_ASSERT(offsetof(obzx_objid, name) == 0, "obzx_objid.name");

/* One entry of a snapshot request; the host's. */
typedef struct obz_splitnode
{
    char* text;       /* split name asked for; may be null */
    obz_domain* node; /* its name field names the node in the session */
} obz_splitnode;

OBZ_STATIC_ASSERT(offsetof(obz_splitnode, text) == 0, "obz_splitnode.text");
OBZ_STATIC_ASSERT(offsetof(obz_splitnode, node) == 8, "obz_splitnode.node");

/* ---- Start-up records -------------------------------------------------------------------------------------------- */

/* Written by init: version is set to OBZ_INTERFACE_VERSION, the rest to zero. */
typedef struct obz_version
{
    uint16_t version;
    uint8_t reserved[6];
} obz_version;

OBZ_STATIC_ASSERT(sizeof(obz_version) == 8, "obz_version");

struct obz_context;

/* Receives each message of a provider: text in the caller's locale (empty for a plain message), text in the default
 * locale, severity. Called on the thread that reports; the texts end with the call. */
typedef void (*obz_message_callback)(struct obz_context* context, const char* localized, const char* text,
                                     obz_eseverity severity);

/* The host's context; must outlive the provider's fini. The provider stores its address and never frees it. */
typedef struct obz_context
{
    obz_message_callback callback; /* may be null: messages are then not delivered */
    void* user;                    /* the host's own */
    void* reserved16;
    char** locale; /* null, or points at the locale's name, which may be null or empty */
} obz_context;

OBZ_STATIC_ASSERT(offsetof(obz_context, callback) == 0, "obz_context.callback");
OBZ_STATIC_ASSERT(offsetof(obz_context, locale) == 24, "obz_context.locale");

/* ---- State and handles ------------------------------------------------------------------------------------------- */

/* State of a node. data comes from obzx_alloc_buf and is the host's after the call. */
typedef struct obz_blob
{
    uint64_t size; /* bytes in data, the terminating NUL included */
    void* data;
    int32_t encoding; /* OBZ_ENCODING_STRING */
} obz_blob;

OBZ_STATIC_ASSERT(offsetof(obz_blob, size) == 0, "obz_blob.size");
OBZ_STATIC_ASSERT(offsetof(obz_blob, data) == 8, "obz_blob.data");
OBZ_STATIC_ASSERT(offsetof(obz_blob, encoding) == 16, "obz_blob.encoding");

/* What became of one node of a snapshot. Both texts come from obzx_alloc_buf. */
typedef struct obz_snaphandle_entry
{
    char* node;
    char* target; /* target-device name, by which the copy is imported and disposed of */
} obz_snaphandle_entry;

/* Filled by update_snapshot_handle; freed with obzx_free_snaphandle. */
typedef struct obz_snaphandle
{
    obz_snaphandle_entry* entries;
    int32_t count;
} obz_snaphandle;

/* ---- Lists that a provider builds -------------------------------------------------------------------------------- */

/* Description of a provider. Freed with obzx_free_provider_list. */
typedef struct obz_provider_list
{
    char* name;
    int32_t kind;        /* cdpfi: 1; for the host to show, as is the level */
    int32_t level;       /* cdpfi: 2 */
    uint16_t version[4]; /* most significant number first */
    char** attributes;   /* attribute_count texts; null when there is none */
    int32_t attribute_count;
    struct obz_provider_list* next;
} obz_provider_list;

/* A snapshot method (FIM) that a provider offers. Freed with obzx_free_fim_list. */
typedef struct obz_fim_list
{
    char* name;     /* as supports_fitype takes it */
    char* version;  /* for people; may be null */
    char* provider; /* name of the provider that offers it */
    struct obz_fim_list* next;
} obz_fim_list;

/* ---- Records that a provider passes through ---------------------------------------------------------------------- */

/* A message of the error stack; made by get_last_error, freed by del_last_error. */
typedef struct obz_msg_info
{
    char* catalog; /* component whose catalog holds the message */
    char* id;      /* key in that catalog */
    char* file;    /* source that reported it */
    int32_t line;
    int32_t severity; /* obz_eseverity */
    char** arguments; /* argument_count texts that fill the message's places */
    int32_t argument_count;
} obz_msg_info;

/* A host by name; the caller's, and copied where it is kept. */
typedef struct obz_host_infn
{
    char* name;
    struct obz_host_infn* next;
} obz_host_infn;

/* Objects by identity. */
typedef struct obz_objid_list
{
    obzx_objid* identity;
    struct obz_objid_list* next;
} obz_objid_list;

/* Pairs of objects that belong together. */
typedef struct obz_association_list
{
    obzx_objid* first;
    obzx_objid* second;
    struct obz_association_list* next;
} obz_association_list;

/* What is told about a node. */
typedef struct obz_attributes
{
    char* name;
    char* value;
    struct obz_attributes* next;
} obz_attributes;

/* A configuration value that a provider reads. Freed with obzx_free_confspec. */
typedef struct obz_confspec
{
    char* name;  /* "SECTION/NAME" in the configuration store */
    char* type;  /* for people */
    char* value; /* default value */
    char* help;  /* one sentence for people */
    struct obz_confspec* next;
} obz_confspec;

/* Records whose content no operation of the runtime looks at. */
typedef struct obz_quiescenode obz_quiescenode;
typedef struct obz_accessnode obz_accessnode;
typedef struct obz_snapreplica_ele obz_snapreplica_ele;
typedef struct obz_resource obz_resource;
typedef struct obz_bkupset obz_bkupset;
typedef struct obz_node_subobj_list obz_node_subobj_list;
typedef struct obz_pgn_node_list obz_pgn_node_list;

#ifdef __cplusplus
}
#endif

#endif
