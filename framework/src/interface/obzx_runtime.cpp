#include "framework/include/obzx_runtime.h"

#include "framework/include/cficonfiguration.h"
#include "framework/src/memory/text_copy.h"
#include "framework/src/process/exec_limit.h"
#include "framework/src/process/run_cancel.h"
#include "framework/src/process/run_observer.h"
#include "framework/src/trace/trace_observer.h"

char* obzx_place_path(const char* path)
{
    if (path == nullptr) return nullptr;
    try {
        return obzx_pdk_4_4::copyText(obzx_pdk_4_4::placePath(path));
    } catch (...) {
        return nullptr;  // no memory for the longer path
    }
}

char* obzx_get_setting(const char* component, const char* section, const char* name)
{
    if (component == nullptr || section == nullptr || name == nullptr) return nullptr;
    try {
        obzx_pdk_4_4::CFiConfiguration store(component);
        ACE_Configuration_Section_Key key;
        ACE_String_Base<char> value;
        if (store.openSection(section, key, 1) != 0 || store.getStringValue(name, value) != 0) return nullptr;
        return obzx_pdk_4_4::copyText(std::string(value.fast_rep(), value.length()));
    } catch (...) {
        return nullptr;  // no memory
    }
}

void obzx_set_trace_observer(obzx_trace_observer observer, void* user, int32_t level)
{
    obzx_pdk_4_4::setTraceObserver(observer, user, level);
}

void obzx_set_run_observer(obzx_run_observer observer, void* context)
{
    obzx_pdk_4_4::CRunObserver::set(observer, context);
}

void obzx_cancel_observed_run(void)
{
    obzx_pdk_4_4::CRunObserver::cancelObserved();
}

void obzx_cancel_runs(void)
{
    obzx_pdk_4_4::cancelRuns();
}

void obzx_set_run_limit(uint64_t seconds)
{
    obzx_pdk_4_4::setRunLimit(seconds);
}
