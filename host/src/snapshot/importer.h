#pragma once

#include <string>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/provider/provider.h"

namespace fictl {

/**
 * Brings the copies of a group's devices to this host. An import is two calls of the provider: one makes the time image
 * of the group's checkpoint and grants it to this host, once for a group; the other, with the image's name in the
 * primary's state, finds the device that shows the copy. The second alone takes up an image that another process has
 * made. Both throw EFictl (FAILED) with the appliance's answers. Groups may be worked on side by side.
 */
class CImporter
{
  public:
    struct SCopy
    {
        std::string path;
        std::string serial;  ///< of the LUN that it shows; empty when the provider does not tell
    };

    explicit CImporter(CProvider& provider) : m_provider(provider) {}

    void makeImage(const SDevice& device);
    SCopy findCopy(const SDevice& device);

  private:
    CProvider& m_provider;
};

}  // namespace fictl
