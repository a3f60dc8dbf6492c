#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: start-up and description. Contracts:
// obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(init)(obz_context* context, obz_version* version, const char* fim_name)
{
    return CFiEntry(FI_HERE).failingWith(OBZ_ERR_VERSION).needing(version).run([&] {
        return CFiLifecycleCalls::start(context, version, fim_name);
    });
}

void FI_ENTRY(fini)()
{
    const CFiEntry entry(FI_HERE);
    CFiLifecycleCalls::end();
}

int32_t FI_ENTRY(get_provider_info)(obz_provider_list** provider)
{
    return CFiEntry(FI_HERE).needing(provider).clearing(provider).call(&CFiPluginBase::getProviderInfo, provider);
}

int32_t FI_ENTRY(enumerate_fims)(obz_fim_list** fims)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::enumerateFims, fims);
}

int32_t FI_ENTRY(config)(obz_domain* node, const char* fim, const char* locale, obz_confspec** parameters)
{
    return CFiEntry(FI_HERE)
        .gated()
        .clearing(parameters)
        .needing(node, parameters)
        .call(&CFiPluginBase::config, node, fim, locale, parameters);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
