#include "host/src/provider/provider.h"

#include <utility>

#include "host/src/process/signals.h"

namespace fictl {

CProvider::CProvider(const std::string& nameOrPath, EStart start) : m_library(nameOrPath)
{
    m_context.callback = &CProvider::onMessage;
    m_context.user = this;
    try {
        this->start(start);
    } catch (const EFictl&) {
        stop();
        throw;
    }
}

void CProvider::start(EStart start)
{
    int32_t status = OBZ_OK;
    {
        // A start reads the inventory of every appliance, with several commands each.
        const CRunLog::CLooking looking(m_runs, stopRequested);
        const CStopCancelsRuns cancelling;
        status = call().init(&m_context, &m_version, nullptr);
    }
    stopPoint();  // what it has read may be a part
    if (status != OBZ_OK) {
        EFictl failure(EExit::PROVIDER,
                       "provider \"" + name() + "\" did not start (status " + std::to_string(status) + ")",
                       "fictl doctor tells what is wrong with the provider's configuration, its tools and appliances");
        failure.withReport(takeReport());
        if (start == EStart::REQUIRED) throw failure;
        m_startFailure = std::move(failure);
        return;
    }
    if (m_version.version != OBZ_INTERFACE_VERSION) {
        throw EFictl(EExit::PROVIDER, "provider \"" + name() + "\" speaks interface version " +
                                          std::to_string(m_version.version) + ", fictl speaks " +
                                          std::to_string(OBZ_INTERFACE_VERSION));
    }
}

CProvider::~CProvider()
{
    stop();
}

void CProvider::stop()
{
    call().fini();
}

SApplianceReport CProvider::takeReport()
{
    return reportOf(m_runs.take());
}

void CProvider::forgetReport()
{
    takeReport();
}

void CProvider::onMessage(obz_context* context, const char* localized, const char* text, obz_eseverity severity)
{
    CProvider* const self = static_cast<CProvider*>(context->user);
    if (severity == OBZ_SEV_INFO) return;
    const bool useLocalized = localized != nullptr && *localized != '\0';
    const char* const shown = useLocalized ? localized : text;
    if (shown != nullptr) self->m_runs.say(shown);
}

}  // namespace fictl
