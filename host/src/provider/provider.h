#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/src/output/error.h"
#include "host/src/provider/provider_library.h"
#include "host/src/runs/appliance_report.h"
#include "host/src/runs/run_log.h"

namespace fictl {

/**
 * A running provider: init in the constructor, fini in the destructor. Collects what became of the programs that it ran
 * and the messages of its error stack, so that a failing step can be reported with the appliance's own words.
 * One at a time in a process. Any thread may call it, and the provider may report from any.
 */
class CProvider
{
  public:
    enum class EStart
    {
        REQUIRED,
        ATTEMPTED  ///< a provider that does not start is kept, for what it tells without: startFailure
    };

    /// Throws EFictl (PROVIDER) when the provider does not start or speaks another interface version.
    explicit CProvider(const std::string& nameOrPath, EStart start = EStart::REQUIRED);
    ~CProvider();
    CProvider(const CProvider&) = delete;
    CProvider& operator=(const CProvider&) = delete;

    const CProviderLibrary& library() const { return m_library; }
    const SEntryPoints& call() const { return m_library.calls(); }
    const std::string& name() const { return m_library.name(); }

    /// Why the provider did not start; nothing when it did.
    const std::optional<EFictl>& startFailure() const { return m_startFailure; }

    /// What was reported since the last take; on a thread whose work is kept apart (COwnReport), of that work.
    SApplianceReport takeReport();
    /// Drops what was reported so far; called before a step whose own report is wanted.
    void forgetReport();
    /// While it lives, this thread's work has a report of its own.
    class COwnReport
    {
      public:
        explicit COwnReport(CProvider& provider) : m_apart(provider.m_runs) {}

      private:
        CRunLog::CApart m_apart;
    };
    /// To be held around init_node, deinit_node and the setting of a state, which a provider is asked for one at a
    /// time.
    std::mutex& nodeLock() { return m_nodeLock; }
    /// Programs that ran since the provider was started. One that runs none answers by its statuses alone.
    uint64_t countRuns() const { return m_runs.count(); }

  private:
    static void onMessage(obz_context* context, const char* localized, const char* text, obz_eseverity severity);
    void start(EStart start);
    void stop();

    CProviderLibrary m_library;
    CRunLog m_runs;
    std::mutex m_nodeLock;
    obz_context m_context{};
    obz_version m_version{};
    std::optional<EFictl> m_startFailure;
};

}  // namespace fictl
