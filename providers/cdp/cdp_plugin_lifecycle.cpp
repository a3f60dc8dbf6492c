// Starting and ending the provider, and what it tells of itself.
#include <map>
#include <string>

#include "framework/include/cficonfiguration.h"
#include "framework/include/cfiplatformerror.h"
#include "framework/include/cfistringtool.h"
#include "pdk/include/cfilist.h"
#include "providers/cdp/cdp_messages.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiErrorManagerPtr;
using obzx_pdk_4_4::CFiFim;
using obzx_pdk_4_4::CFiFimListFactory;
using obzx_pdk_4_4::CFiPlatformError;
using obzx_pdk_4_4::CFiPrivateDataConcreteFactory;
using obzx_pdk_4_4::CFiPrivateDataFactoryPtr;
using obzx_pdk_4_4::CFiProviderInfo;
using obzx_pdk_4_4::CFiProviderInfoListFactory;
using obzx_pdk_4_4::CFiTraceLogFunction;
using obzx_pdk_4_4::SFiFimInfo;
using obzx_pdk_4_4::TRACE_INFO;
using obzx_pdk_4_4::TRACE_INVALID;

namespace {

constexpr const char* QUIESCE_NAME = "FI_QUIESCE_NONE";
constexpr int32_t FIM_ACCESS = 3;

constexpr int32_t PROVIDER_KIND = 1;
constexpr int32_t PROVIDER_LEVEL = 2;

// File and line that the message of a failed start has always carried, and that hosts know it by.
constexpr SMessageSource FAILED_START_SOURCE = {"../cdp_plugin.cpp", 107};

/// The programs without which appliances cannot be used, each with the names of those that need it.
std::map<std::string, std::string> requiredPrograms(const std::vector<CAppliancePtr>& appliances)
{
    std::map<std::string, std::string> programs;
    for (const CAppliancePtr& appliance : appliances) {
        if (!appliance) continue;
        std::string& names = programs[appliance->requiredProgram()];
        if (!names.empty()) names += ", ";
        names += bytesOf(appliance->getName());
    }
    return programs;
}

// Called while the exception that ended the start is handled.
void pushCause(const CFiErrorManagerPtr& errors)
{
    try {
        throw;
    } catch (const EDiskListing& error) {
        pushError(errors, message::DISK_LISTING_FAILED, {error.tool(), error.what()}, {__FILE__, __LINE__});
    } catch (const CFiPlatformError& error) {
        const std::string cause = error.getPath() + ": " + error.what();
        pushError(errors, message::INITIALIZATION_CAUSE, {cause}, {__FILE__, __LINE__});
    } catch (const std::exception& error) {
        pushError(errors, message::INITIALIZATION_CAUSE, {error.what()}, {__FILE__, __LINE__});
    }
}

}  // namespace

int32_t CCDPPlugin::delayedInit()
{
    const CFiTraceLogFunction tracer(m_traceLog, "delayedInit", __LINE__, __FILE__);
    return OBZ_OK;
}

int32_t CCDPPlugin::fini()
{
    const CFiTraceLogFunction tracer(m_traceLog, "fini", __LINE__, __FILE__);
    return OBZ_OK;
}

int32_t CCDPPlugin::init()
{
    const CFiTraceLogFunction tracer(m_traceLog, "init", __LINE__, __FILE__);
    try {
        return startUp();
    } catch (...) {
        reportFailedStart();
        return OBZ_ERR_INIT;
    }
}

int32_t CCDPPlugin::startUp()
{
    const CRegistryPtr appliances = registry();
    appliances->registerTraceLog(m_traceLog);
    appliances->initialize();
    const std::vector<CAppliancePtr> list = appliances->getApplianceList();
    if (list.empty()) {
        trace(TRACE_INVALID, "CCDPPlugin::init could not get appliance information");
        reportError(m_errorManager, m_catalogManager, message::NO_APPLIANCE_CONFIGURED,
                    {CCDPApplianceFactory::configurationPath()}, {__FILE__, __LINE__});
        return OBZ_ERR_INIT;
    }
    registerCatalog();
    registerPrivateData();
    if (!checkAppliances(list)) {
        trace(TRACE_INFO, "CCDPPlugin::init - None of the appliances are valid return PTP.");
        for (const auto& [program, names] : requiredPrograms(list)) {
            pushError(m_errorManager, message::TOOL_NOT_USABLE, {program, names}, {__FILE__, __LINE__});
        }
        return OBZ_ERR_INIT;
    }
    announceFims(list);
    appliances->initializeAppliances();
    trace(TRACE_INFO, "CCDPPlugin::init done successfully");
    return OBZ_OK;
}

void CCDPPlugin::registerCatalog()
{
    if (m_catalogManager) m_catalogManager->registerFactory(newCatalogFactory());
}

void CCDPPlugin::registerPrivateData()
{
    if (!m_privateDataManager) return;
    m_privateDataManager->registerFactory(
        CFiPrivateDataFactoryPtr(new CFiPrivateDataConcreteFactory<CCDPPrivateData>()));
}

bool CCDPPlugin::checkAppliances(const std::vector<CAppliancePtr>& appliances)
{
    trace(TRACE_INFO, "CCDPPlugin::init - Checking which appliances are valid.");
    int valid = 0;
    for (const CAppliancePtr& appliance : appliances) {
        if (!appliance) continue;
        if (appliance->verify()) {
            trace(TRACE_INFO, "CCDPPlugin::init - Found a valid Appliance.");
            ++valid;
        } else {
            trace(TRACE_INFO, "CCDPPlugin::init - Found a in valid Appliance.");
        }
    }
    return valid > 0;
}

void CCDPPlugin::announceFims(const std::vector<CAppliancePtr>& appliances)
{
    for (const CAppliancePtr& appliance : appliances) {
        if (!appliance) continue;
        for (const SFiFimInfo& fim : appliance->getFims()) {
            trace(TRACE_INFO, "Adding FIM %s", fim.m_splitName);
            addFim(fim.m_splitName, fim.m_splitName, QUIESCE_NAME, FIM_ACCESS, "");
        }
    }
}

void CCDPPlugin::reportFailedStart() noexcept
{
    try {
        pushCause(m_errorManager);
    } catch (...) {
        // A cause that cannot be told must not hide the failure itself.
        trace(TRACE_INVALID, "CCDPPlugin::init - the cause of the failure could not be reported");
    }
    try {
        pushError(m_errorManager, message::INITIALIZATION_FAILED, {}, FAILED_START_SOURCE);
    } catch (...) {
        trace(TRACE_INVALID, "CCDPPlugin::init - the failure could not be reported");
    }
}

int32_t CCDPPlugin::getProviderInfo(obz_provider_list** provider)
{
    if (provider == nullptr) return OBZ_ERR_INVALID_ARG;
    *provider = nullptr;
    return runOperation(m_traceLog, CDP_OPERATION("getProviderInfo"), OBZ_OK, [&]() -> int32_t {
        CFiProviderInfoListFactory list(provider, cfi_pgn_name_str);
        list.append(CFiProviderInfo{PROVIDER_KIND, PROVIDER_LEVEL, {}});
        return OBZ_OK;
    });
}

int32_t CCDPPlugin::enumerateFims(obz_fim_list** fims)
{
    if (fims == nullptr) return OBZ_ERR_INVALID_ARG;
    *fims = nullptr;
    return runOperation(m_traceLog, CDP_OPERATION("enumerateFims"), OBZ_OK, [&]() -> int32_t {
        CFiFimListFactory list(fims, cfi_pgn_name_str);
        for (const CAppliancePtr& appliance : registry()->getApplianceList()) {
            if (!appliance) continue;
            for (const CFiFim& fim : appliance->getFimList()) {
                list.append(fim);
            }
        }
        return OBZ_OK;
    });
}

}  // namespace cdpfi
