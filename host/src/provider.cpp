#include "host/src/provider.h"

#include "framework/include/obzx_runtime.h"
#include "host/src/error.h"

namespace fictl {

namespace {

// Level 1 tells of failures, level 2 of failed appliance commands.
constexpr int32_t OBSERVED_LEVEL = 2;
// A provider that keeps failing must not fill the memory; the first lines are the telling ones.
constexpr size_t MOST_LINES = 1000;

}  // namespace

CProvider::CProvider(const std::string& nameOrPath) : m_library(nameOrPath)
{
    obzx_set_trace_observer(&CProvider::onTrace, this, OBSERVED_LEVEL);
    m_context.callback = &CProvider::onMessage;
    m_context.user = this;
    const int32_t status = call().init(&m_context, &m_version, nullptr);
    if (status != OBZ_OK) {
        stop();
        throw EFictl(EExit::PROVIDER,
                     "provider \"" + name() + "\" did not start (status " + std::to_string(status) + ")",
                     "check the provider's configuration and that its tools are in place; its trace file tells more")
            .withReport(takeReport());
    }
    if (m_version.version != OBZ_INTERFACE_VERSION) {
        stop();
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
    obzx_set_trace_observer(nullptr, nullptr, 0);
}

SApplianceReport CProvider::takeReport()
{
    const std::lock_guard guard(m_lock);
    SApplianceReport report = readReport(m_trace);
    report.lines.insert(report.lines.end(), m_messages.begin(), m_messages.end());
    m_trace.clear();
    m_messages.clear();
    return report;
}

void CProvider::forgetReport()
{
    const std::lock_guard guard(m_lock);
    m_trace.clear();
    m_messages.clear();
}

void CProvider::onTrace(void* user, int32_t level, const char* /*component*/, const char* text)
{
    CProvider* const self = static_cast<CProvider*>(user);
    const std::lock_guard guard(self->m_lock);
    if (text != nullptr && self->m_trace.size() < MOST_LINES) self->m_trace.push_back({level, text});
}

void CProvider::onMessage(obz_context* context, const char* localized, const char* text, obz_eseverity severity)
{
    CProvider* const self = static_cast<CProvider*>(context->user);
    if (severity == OBZ_SEV_INFO) return;
    const bool useLocalized = localized != nullptr && *localized != '\0';
    const char* const shown = useLocalized ? localized : text;
    const std::lock_guard guard(self->m_lock);
    if (shown != nullptr && self->m_messages.size() < MOST_LINES) self->m_messages.emplace_back(shown);
}

}  // namespace fictl
