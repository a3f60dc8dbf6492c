#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/src/output/exit_codes.h"
#include "host/src/runs/appliance_report.h"

namespace fictl {

/**
 * What a command ends with when it cannot do its work: an exit code, a text that names the object, the appliance's own
 * answers, and what the user can do next.
 */
class EFictl : public std::runtime_error
{
  public:
    EFictl(EExit exit, const std::string& text, std::string next = {})
        : std::runtime_error(text), m_exit(exit), m_next(std::move(next))
    {
    }
    ~EFictl() override;
    EFictl(const EFictl&) = default;
    EFictl& operator=(const EFictl&) = default;

    EFictl& withReport(SApplianceReport report)
    {
        m_report = std::move(report);
        return *this;
    }

    /// Names the snapshot whose record belongs beside the error in a document.
    EFictl& about(const std::string& snapshot)
    {
        m_snapshot = snapshot;
        return *this;
    }

    /// Tells how long the application was frozen; 0 when it was not.
    EFictl& frozenFor(double seconds)
    {
        m_frozenSeconds = seconds;
        return *this;
    }

    EExit exit() const { return m_exit; }
    const std::string& next() const { return m_next; }
    const std::string& snapshot() const { return m_snapshot; }
    const SApplianceReport& report() const { return m_report; }
    double frozenSeconds() const { return m_frozenSeconds; }

  private:
    EExit m_exit;
    std::string m_next;
    std::string m_snapshot;
    SApplianceReport m_report;
    double m_frozenSeconds = 0;
};

/// Throws EFictl (IO) with errno's reason: "cannot open FILE: Permission denied".
[[noreturn]] void failFile(const std::string& doing, const std::string& file);

}  // namespace fictl
