#include <ace/Guard_T.h>

#include <memory>

#include "framework/include/cfipluginbase.h"
#include "framework/include/cfistringtool.h"
#include "framework/include/obzx_runtime.h"
#include "framework/src/memory/text_copy.h"
#include "framework/src/plugin/default_operation.h"
#include "framework/src/plugin/parameter_description.h"

namespace obzx_pdk_4_4 {
namespace {

struct SConfSpecFree
{
    void operator()(obz_confspec* list) const { obzx_free_confspec(list); }
};
using CConfSpecOwner = std::unique_ptr<obz_confspec, SConfSpecFree>;

// Null when there is no memory.
CConfSpecOwner copyParameter(const CFiConfigParamInfo& parameter)
{
    CConfSpecOwner spec(static_cast<obz_confspec*>(obzx_alloc_buf(sizeof(obz_confspec))));
    if (!spec) return nullptr;
    spec->name = copyText(parameter.name);
    spec->type = copyText(parameter.type);
    spec->value = copyText(parameter.defaultValue);
    spec->help = copyText(parameter.help);
    return anyNull(spec->name, spec->type, spec->value, spec->help) ? nullptr : std::move(spec);
}

}  // namespace

const CFiConfigParamInfoList& CFiPluginBase::globalConfigInfoList()
{
    const ACE_Guard<ACE_Recursive_Thread_Mutex> guard(m_mutex);
    // Without a name yet there is nothing to look for; the next call may know more.
    if (m_globalConfigRead || m_providerName.is_empty()) return m_globalConfigInfo;
    CFiConfigParamInfoList parameters = readParameterDescription(CFiStringTool::tstr2str(m_providerName), *this);
    CFiConfigParamInfoList defaults;
    for (const CFiConfigParamInfo& parameter : parameters) {
        if (!parameter.defaultValue.empty()) defaults.push_back(parameter);
    }
    m_globalConfigInfo.swap(parameters);
    m_globalConfigDefaults.swap(defaults);
    m_globalConfigRead = true;
    return m_globalConfigInfo;
}

int32_t CFiPluginBase::config(obz_domain* node, const char*, const char*, obz_confspec** parameters)
{
    clear(parameters);
    if (anyNull(node, parameters)) return OBZ_ERR_INVALID_ARG;
    return runOperation(*this, "config", [&]() -> int32_t {
        CConfSpecOwner list;
        obz_confspec* last = nullptr;
        for (const CFiConfigParamInfo& parameter : globalConfigInfoList()) {
            CConfSpecOwner spec = copyParameter(parameter);
            if (!spec) return OBZ_ERR_FAILED;
            obz_confspec* added = spec.get();
            if (last == nullptr) {
                list = std::move(spec);
            } else {
                last->next = spec.release();
            }
            last = added;
        }
        *parameters = list.release();
        return OBZ_OK;
    });
}

}  // namespace obzx_pdk_4_4
