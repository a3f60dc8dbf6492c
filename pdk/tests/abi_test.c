/* A host in C that knows nothing but the public header and a provider's path and name:
 * abi_test LIBRARY PROVIDER; 0 when every entry point answered as the header says. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "framework/include/obz_entry_points.h"

static void* g_library;
static const char* g_provider;
static int g_failures;

static void expect(int condition, const char* what)
{
    if (condition) return;
    fprintf(stderr, "abi_test: %s\n", what);
    ++g_failures;
}

/* An entry point by name; the assignment through memory is how C gets a function out of dlsym. */
static void find(const char* op, void* function)
{
    char name[128];
    void* address;
    snprintf(name, sizeof name, "%s_fi_pgn_%s", g_provider, op);
    address = dlsym(g_library, name);
    if (address == NULL) {
        fprintf(stderr, "abi_test: no %s\n", name);
        exit(1);
    }
    memcpy(function, &address, sizeof address);
}

#define FIND(op)              \
    obzx_fi_##op##_fn* op##_; \
    find(#op, &op##_)

static void countMessage(obz_context* context, const char* localized, const char* text, obz_eseverity severity)
{
    (void)localized;
    (void)text;
    (void)severity;
    ++*(int*)context->user;
}

static void checkAllArePresent(void)
{
    int count = 0;
    void* function;
#define CHECK(op)         \
    find(#op, &function); \
    ++count;
    OBZX_FI_ENTRY_POINTS(CHECK)
    expect(count == OBZX_FI_ENTRY_POINT_COUNT, "the list has another length than its count");
}

static void checkStart(obz_context* context)
{
    obz_version version;
    FIND(init);
    memset(&version, 0xFF, sizeof version);
    expect(init_(context, NULL, NULL) == OBZ_ERR_VERSION, "init without a version");
    expect(init_(context, &version, "method") == OBZ_OK, "init");
    expect(version.version == OBZ_INTERFACE_VERSION, "version");
    expect(version.reserved[0] == 0 && version.reserved[5] == 0, "rest of the version record");
}

static void checkSnapshot(void)
{
    char name[] = "node";
    char text[] = "split";
    obzx_objid identity = {name, sizeof name, OBZ_OBJID_TYPE_DEVICE};
    obz_domain node;
    obz_splitnode single = {text, NULL};
    obzx_objid** identities = (obzx_objid**)&identity;
    int32_t count = -1;
    int32_t ready = -1;
    FIND(select);
    FIND(prepare);
    FIND(make);
    FIND(isready);
    memset(&node, 0, sizeof node);
    node.identity = &identity;
    node.name = name;
    single.node = &node;
    expect(select_(&single, "session", NULL, 0) == OBZ_OK, "select");
    expect(select_(&single, NULL, NULL, 0) == OBZ_ERR_INVALID_ARG, "select without a session");
    expect(prepare_(&single, "session", NULL, 0, 0) == OBZ_OK, "prepare");
    expect(make_(&single, "session", NULL, 0, &identities, &count) == OBZ_ERR_UNSUPPORTED, "make");
    expect(identities == NULL && count == 0, "outputs of make");
    expect(isready_(&single, NULL, 0, &ready) == OBZ_OK && ready == 1, "isready");
}

static void checkQueries(void)
{
    obz_provider_list* provider = (obz_provider_list*)&g_failures;
    char request[] = "<OBJCTL_ARG_LIST> </OBJCTL_ARG_LIST>";
    char* reply = NULL;
    int64_t status = -1;
    FIND(get_provider_info);
    FIND(claim);
    FIND(objctl);
    expect(get_provider_info_(&provider) == OBZ_OK && provider == NULL, "get_provider_info");
    expect(claim_(NULL, NULL, NULL) == OBZ_CLAIM_NONE, "claim");
    expect(objctl_("object", request, &reply, &status) == OBZ_OK, "objctl");
    expect(status == OBZ_ERR_UNSUPPORTED, "status of objctl");
    expect(reply != NULL && strcmp(reply, "<OBJCTL_ARG_LIST> </OBJCTL_ARG_LIST> ") == 0, "reply of objctl");
    free(reply);
}

int main(int argc, char** argv)
{
    int messages = 0;
    obz_context context = {countMessage, NULL, NULL, NULL};
    if (argc != 3) {
        fprintf(stderr, "usage: abi_test LIBRARY PROVIDER\n");
        return 2;
    }
    context.user = &messages;
    g_provider = argv[2];
    g_library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (g_library == NULL) {
        fprintf(stderr, "abi_test: %s\n", dlerror());
        return 1;
    }
    checkAllArePresent();
    checkStart(&context);
    checkSnapshot();
    checkQueries();
    {
        FIND(fini);
        fini_();
    }
    expect(messages == 0, "a message without a failure");
    expect(dlclose(g_library) == 0, "dlclose");
    return g_failures == 0 ? 0 : 1;
}
