#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: control. Contracts: obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(objctl)(const char* name, char* request, char** reply, int64_t* status)
{
    return CFiEntry(FI_HERE).gated().run([&] { return CFiSingleCalls::objctl(name, request, reply, status); });
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
