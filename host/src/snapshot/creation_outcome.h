#pragma once

#include <string>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/error.h"
#include "host/src/output/result.h"
#include "host/src/snapshot/snapshot_maker.h"

namespace fictl {

/// What a creation has come to once it is known which devices have their copy, and how its user is told.
class CCreationOutcome
{
  public:
    /// All must outlive it.
    /// @param record with the devices marked as made or not
    /// @param contradiction groups without the checkpoint that the provider says it made; empty: none
    CCreationOutcome(const SSnapshot& record, const SMakeResult& made, const std::string& contradiction)
        : m_record(record), m_made(made), m_contradiction(contradiction)
    {
    }

    /// COMPLETE, PARTIAL, or FAILED when nothing was made.
    EState state() const;
    /// What the record says of it; empty for a complete one whose application was thawed.
    std::string message() const;

    // The command's end, with the message in the record.

    /// Throws EFictl (HOOK) when the application may still be frozen.
    SResult complete() const;
    EFictl partial() const;
    /// @param isClean nothing is left on the appliance, and the record is gone
    EFictl nothingMade(bool isClean) const;

  private:
    bool isCutShort() const { return !m_made.cutShort.empty(); }
    std::string quotedName() const { return "snapshot \"" + m_record.name + "\""; }
    std::string partialMessage() const;
    std::string nothingMessage() const;

    const SSnapshot& m_record;
    const SMakeResult& m_made;
    const std::string& m_contradiction;
};

}  // namespace fictl
