#pragma once

#include <memory>
#include <string>
#include <utility>

#include "framework/include/cfiexecpipe.h"
#include "providers/cdp/model/base_timeimage.h"

namespace cdpfi {

/// What an appliance finds when it is asked whether it claims a device.
struct SClaimedDevice
{
    CConsistencyGroupPtr m_group;  ///< that holds the device; empty: the appliance does not claim it
    std::string m_lun;             ///< serial of its LUN, as findLun has it; empty when it is not claimed
};

/// This host's disks cannot be listed.
class EDiskListing : public obzx_pdk_4_4::EFiExecPipe
{
  public:
    /// @param tool full path of the program that was asked for the listing
    EDiskListing(std::string tool, obzx_pdk_4_4::SFiExecError error)
        : EFiExecPipe(std::move(error)), m_tool(std::move(tool))
    {
    }
    const std::string& tool() const { return m_tool; }

  private:
    std::string m_tool;
};

/**
 * What the provider asks of an appliance beyond the operations of CBaseAppliance. A class of its own, because callers
 * that were built against other headers rely on the places of those operations in their table.
 */
class CBaseClaimant
{
  public:
    virtual ~CBaseClaimant() = default;

    /// As CBaseAppliance::interpose, and tells what was found on the way.
    virtual SClaimedDevice claimDevice(const CString& device) = 0;
    /// Full path of the program that CBaseAppliance::verify looks for, for the message that it cannot be used.
    virtual std::string requiredProgram() = 0;
    /// Begins to ask for what CBaseAppliance::initialize will ask for, so that several appliances are asked at once.
    /// Changes nothing else: what initialize() does and traces is the same without.
    /// @return is held by the thread until it has called initialize(), and not passed to another one; may be empty.
    /// @throw std::bad_alloc
    virtual std::shared_ptr<void> readAhead() { return {}; }
};

}  // namespace cdpfi
