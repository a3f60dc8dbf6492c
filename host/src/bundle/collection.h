#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/src/bundle/parts.h"
#include "host/src/output/progress.h"

namespace fictl {

struct SCollectionOrder
{
    std::string provider;  ///< name or path
    std::chrono::seconds timeout;
    const CProgress& progress;
    nlohmann::json head;               ///< of the conversation: a doctor's
    std::vector<std::string> secrets;  ///< texts that go into no part
};

/**
 * Everything that tells what is wrong with this host's snapshots (docs/fictl.md, fictl support-bundle). What cannot be
 * had is among the missing parts. Changes nothing. There must be a guardian. Throws EFictl (STOPPED) when fictl was
 * asked to stop.
 */
SParts collectParts(SCollectionOrder order);

/// Gives the parts other names in place of those of hosts, groups and LUNs, and returns how many names were kept since
/// they are words that stand everywhere.
size_t renameParts(SParts& parts);

/// The parts with the manifest, as they are written.
FileTexts withManifest(const SParts& parts, nlohmann::json manifest);

}  // namespace fictl
