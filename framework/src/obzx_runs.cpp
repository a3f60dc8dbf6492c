#include "framework/include/obzx_runtime.h"
#include "framework/src/exec_limit.h"
#include "framework/src/run_cancel.h"
#include "framework/src/run_observer.h"

void obzx_set_run_observer(obzx_run_observer observer, void* context)
{
    obzx_pdk_4_4::CRunObserver::set(observer, context);
}

void obzx_cancel_runs(void)
{
    obzx_pdk_4_4::cancelRuns();
}

void obzx_set_run_limit(uint64_t seconds)
{
    obzx_pdk_4_4::setRunLimit(seconds);
}
