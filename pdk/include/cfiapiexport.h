#pragma once

/*
 * The 77 entry points of a provider. Exactly one source of a provider includes this header, after it has included its
 * plug-in class and named itself and that class:
 *
 *   #include "providers/cdp/cdp_plugin.h"
 *
 *   #define FI_PROVIDER cdpfi
 *   #define FI_PLUGIN_CLASS cdpfi::CCDPPlugin
 *   #include "pdk/include/cfiapiexport.h"
 *
 * The plug-in class derives from CFiPluginBase (framework/include/cfipluginbase.h, cfiplugininterposer.h) and has a
 * default constructor. One object of it is made by the first call, and ends with fini.
 *
 * From the runtime, through this header: the entry points' types and contracts (obz_entry_points.h), the records
 * (obz_records.h) and the plug-in's base class. Of the glue: the entry points themselves, each a few lines over one
 * guard (cfientryguard.h); what some of them do beyond handing on (cfientrylifecycle.h: init and fini;
 * cfientrysession.h: calls that go through a session; cfientrycalls.h: interpose and objctl); and the provider's name
 * (cfipluginname.h).
 */

#if !defined(FI_PROVIDER) || !defined(FI_PLUGIN_CLASS)
#error "define FI_PROVIDER and FI_PLUGIN_CLASS before including cfiapiexport.h"
#endif

#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_export.h"
#include "pdk/include/cfientrycalls.h"
#include "pdk/include/cfientryguard.h"
#include "pdk/include/cfientrylifecycle.h"
#include "pdk/include/cfientrysession.h"

// Two steps each, so that FI_PROVIDER is replaced by its value before it is pasted or quoted.
#define FI_PASTE_NAME(provider, op) provider##_fi_pgn_##op
#define FI_EXPAND_NAME(provider, op) FI_PASTE_NAME(provider, op)
#define FI_QUOTE_NAME(provider) #provider
#define FI_EXPAND_TEXT(provider) FI_QUOTE_NAME(provider)

/// Name of an entry point of this provider.
#define FI_ENTRY(op) FI_EXPAND_NAME(FI_PROVIDER, op)
/// Declares an entry point as the host sees it; a definition that differs does not compile.
#define FI_DECLARE(op) OBZX_API obzx_fi_##op##_fn FI_ENTRY(op);

FI_PRIVATE extern const ACE_String_Base<char> cfi_pgn_name_tstr(FI_EXPAND_TEXT(FI_PROVIDER));
FI_PRIVATE extern const std::wstring cfi_pgn_name_wstr(L"" FI_EXPAND_TEXT(FI_PROVIDER));
FI_PRIVATE extern const std::string cfi_pgn_name_str(FI_EXPAND_TEXT(FI_PROVIDER));

namespace obzx_pdk_4_4 {

extern "C" {
OBZX_FI_ENTRY_POINTS(FI_DECLARE)
}

using CFiEntry = CFiEntryGuard<FI_PLUGIN_CLASS>;
using CFiLifecycleCalls = CFiEntryLifecycle<FI_PLUGIN_CLASS>;
using CFiSessionCalls = CFiEntrySession<FI_PLUGIN_CLASS>;
using CFiSingleCalls = CFiEntryCalls<FI_PLUGIN_CLASS>;

}  // namespace obzx_pdk_4_4

// The definitions, in the order of obz_entry_points.h. They stand in headers because the trace lines of an entry point
// name the header that it stands in.
// clang-format off
#include "pdk/include/definitions/cfiapiexport_start.h"
#include "pdk/include/definitions/cfiapiexport_errors.h"
#include "pdk/include/definitions/cfiapiexport_claim.h"
#include "pdk/include/definitions/cfiapiexport_nodes.h"
#include "pdk/include/definitions/cfiapiexport_enumerate.h"
#include "pdk/include/definitions/cfiapiexport_snapshot.h"
#include "pdk/include/definitions/cfiapiexport_import.h"
#include "pdk/include/definitions/cfiapiexport_dispose.h"
#include "pdk/include/definitions/cfiapiexport_control.h"
// clang-format on
