// The state of nodes between calls and processes, and the operations that need nothing done.
#include "pdk/include/cfioutputs.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiTraceLogFunction;

int32_t CCDPPlugin::restore(obzx_objid**, obzx_objid**, long, char*, char*, char***, long*, long, long*)
{
    const CFiTraceLogFunction tracer(m_traceLog, "restore", __LINE__, __FILE__);
    return OBZ_OK;
}

int32_t CCDPPlugin::deportTree(obz_domain*, obz_domain*, obz_accessnode*)
{
    const CFiTraceLogFunction tracer(m_traceLog, "deportTree", __LINE__, __FILE__);
    return OBZ_OK;
}

int32_t CCDPPlugin::processProviderState(obz_domain* node, obz_blob* blob, obz_op_providerstate operation)
{
    if (operation == OBZ_STATE_GET) obzx_pdk_4_4::clearOutputs(blob);
    return runOperation(m_traceLog, CDP_OPERATION("processProviderState"), OBZ_ERR_FAILED, [&]() -> int32_t {
        if (node == nullptr || blob == nullptr) return OBZ_ERR_INVALID_ARG;
        if (operation == OBZ_STATE_GET) {
            const CCDPPrivateData* data = GetPrivateData(node);
            return data == nullptr ? OBZ_ERR_INVALID_ARG : data->getNodeState(blob);
        }
        if (operation == OBZ_STATE_SET) {
            CCDPPrivateData* data = obtainPrivateData(node, false);
            return data == nullptr ? OBZ_ERR_INVALID_ARG : data->setNodeState(blob);
        }
        return OBZ_ERR_INVALID_ARG;
    });
}

}  // namespace cdpfi
