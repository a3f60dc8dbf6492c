#pragma once

#include <string>

#include "host/src/provider.h"
#include "host/src/snapshot_record.h"

namespace fictl {

/**
 * Brings the copy of a device to this host and returns its device path, in two calls of the provider: the first makes
 * the time image of the group's checkpoint, where this process has not made it yet, and grants it to this host; the
 * second, with the image's name in the primary's state, finds the device. The provider remembers the image in memory
 * only, so both calls must come from one process, and an image that another process made cannot be taken up again.
 * Throws EFictl (FAILED).
 */
class CImporter
{
  public:
    explicit CImporter(CProvider& provider) : m_provider(provider) {}

    /// imageMade tells whether the first call had succeeded, also when the import failed.
    std::string import(const SDevice& device, bool& imageMade);

  private:
    CProvider& m_provider;
};

}  // namespace fictl
