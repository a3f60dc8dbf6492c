// Entry points that a host must find but fictl never calls: of all names a weak definition, for which the linker takes
// the one in fakefi.cpp where there is one.
#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_export.h"

#ifdef FAKEFI_WITHOUT_OBJCTL
#define fakefi_fi_pgn_objctl fakefi_without_objctl
#endif

#define FAKE_UNUSED(op)                                                     \
    extern "C" OBZX_API __attribute__((weak)) int32_t fakefi_fi_pgn_##op(); \
    int32_t fakefi_fi_pgn_##op()                                            \
    {                                                                       \
        return OBZ_ERR_UNSUPPORTED;                                         \
    }
OBZX_FI_ENTRY_POINTS(FAKE_UNUSED)
