// Stands in the place of a function in a provider that leaves it out.
#include "framework/include/obzx_export.h"

extern "C" OBZX_API const char fakefi_fi_pgn_objctl[64] = "no function";
