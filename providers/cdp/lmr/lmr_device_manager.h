#pragma once

#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "framework/include/cfiexecpipe.h"
#include "pdk/include/cficontextsingleton.h"
#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/index/lmr_lun_table.h"
#include "providers/cdp/lmr/listings/lmr_disk_listing.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi {

/**
 * Knows which device of this host shows which LUN, from the host's disk utility. Reached as a context singleton; an
 * appliance's initialisation gives it the trace log and the place of the utility and fills it. Look-ups may come from
 * any thread; no lock is held while the utility runs.
 */
class CLMRDeviceManager : public virtual obzx_pdk_4_4::CFiTraceable, public virtual obzx_pdk_4_4::CFiRefCount
{
  public:
    void setUtility(const SLMRCliPath& utility) { m_utility.assignFrom(utility); }
    const SLMRCliPath& getUtility() const { return m_utility; }
    void setBounds(const SLMRAnswerBounds& bounds) { m_bounds = bounds; }

    /**
     * Lists the disks and updates the table: new devices are added, known ones get the serial they have now, and those
     * that are gone stay. A listing without disks clears the table; at a malformed line the reading stops.
     * @param discover has the utility look for new disks first
     * @throw EDiskListing when the listing cannot be had; the table is left as it was
     */
    void refresh(bool discover);
    /// Has the utility look for new disks. A failure is only traced.
    void rescan();

    /// LUN serial of a device path. An unknown path is added with an empty serial, which is returned.
    CString serialOf(const CString& path);
    /// The first device path, in path order, that shows a LUN. False when none does, and for an empty serial.
    bool firstPathOf(const CString& serial, CString& path);

  private:
    int runUtility(obzx_pdk_4_4::CFiExecPipePosix& pipe, const std::string& commandLine,
                   obzx_pdk_4_4::CFiOutputText& output);
    void traceOutput(obzx_pdk_4_4::CFiOutputText& output) const;
    void readListing(obzx_pdk_4_4::CFiOutputText& output);
    bool readDisks(CLMRDiskListing& listing, std::span<const std::string_view> lines,
                   std::vector<SLMRDisk>& disks) const;
    void traceFields(std::string_view line) const;
    void traceGroups(std::string_view line) const;

    SLMRCliPath m_utility;
    SLMRAnswerBounds m_bounds;
    CLMRLunTable m_lunMap;
    std::mutex m_lunMapLock;
};

using CLMRDeviceManagerPtr =
    obzx_pdk_4_4::CFiSmartPtr<CLMRDeviceManager, obzx_pdk_4_4::CFiContextSingletonAllocator<CLMRDeviceManager>>;

}  // namespace cdpfi
