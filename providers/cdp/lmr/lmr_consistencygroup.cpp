#include "providers/cdp/lmr/lmr_consistencygroup.h"

#include <string>
#include <utility>

#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_command_sending.h"
#include "providers/cdp/lmr/lmr_device_manager.h"
#include "providers/cdp/lmr/lmr_timeimage.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

std::vector<SCDPDeviceInfo> CLMRConsistencyGroup::getDeviceList()
{
    return m_devices;
}

void CLMRConsistencyGroup::addDevice(const CString& device, const CString& serial)
{
    addListedDevice(bytesOf(device), bytesOf(serial));
}

void CLMRConsistencyGroup::reserveDevices(const std::vector<SLMRGroupLun>& luns)
{
    size_t bytes = 0;
    for (const SLMRGroupLun& lun : luns) {
        bytes += CLMRTextBlocks::roomFor(lun.device) + CLMRTextBlocks::roomFor(lun.serial);
    }
    m_texts.reserve(bytes);
    m_devices.reserve(m_devices.size() + luns.size());
}

void CLMRConsistencyGroup::addListedDevice(std::string_view device, std::string_view serial)
{
    m_devices.emplace_back(SCDPDeviceInfo::SInPlace{m_texts.keep(device), m_texts.keep(serial)});
    keyAdded(serial);
}

std::vector<CVolumePtr> CLMRConsistencyGroup::getVolList()
{
    return m_volumes;
}

CString CLMRConsistencyGroup::insertCheckPoint(CString /*checkpoint*/, CString /*timeImage*/)
{
    return {};
}

std::vector<CString> CLMRConsistencyGroup::enumerateCheckPoint()
{
    return {};
}

int CLMRConsistencyGroup::createCheckPoint(const CString& name)
{
    const SLMRCommand command = lmr_commands::createCheckPoint(name, m_name);
    std::vector<std::string> lines;
    const int result = sendCommand(*this, m_applianceName, command, lines);
    if (result != 0) trace(TRACE_FAILURE, "Failed to execute command [%s]", command.m_text);
    return result;
}

CTimeImagePtr CLMRConsistencyGroup::createTimeImage(const CString& name, const CString& checkpoint, CHostPtr host)
{
    if (!host) {
        trace(TRACE_INVALID, "CLMRConsistencyGroup::createTimeImage - no host for time image [%s]", name);
        return {};
    }
    const SLMRCommand command = lmr_commands::createTimeImage(name, m_name, checkpoint, host->getName());
    std::vector<std::string> lines;
    if (sendCommand(*this, m_applianceName, command, lines) != 0) {
        trace(TRACE_FAILURE, "Failed to execute command [%s]", command.m_text);
        return {};
    }
    trace(TRACE_INFO, "Map count before adding [%d]", m_timeImages.size());
    printTimeImages();
    m_timeImages.setCheckPoint(bytesOf(checkpoint), bytesOf(name));
    CTimeImagePtr image = createTimeImageObject(name);
    if (!image) {
        trace(TRACE_FAILURE, "Could not create time image object");
        return image;
    }
    trace(TRACE_INFO, "Adding TI [%s] object for [%s]", name, checkpoint);
    m_timeImages.set(bytesOf(name), image);
    trace(TRACE_INFO, "Map count after adding [%d]", m_timeImages.size());
    printTimeImages();
    return image;
}

void CLMRConsistencyGroup::restoreCurrentStore(std::tm /*time*/) {}

int CLMRConsistencyGroup::deleteTimeImage(CString name)
{
    std::vector<std::string> lines;
    send(lmr_commands::deleteTimeImage(name, m_name), lines);
    if (const auto checkPoint = m_timeImages.erase(bytesOf(name))) {
        trace(TRACE_INFO,
              "Erasing the following entry from the checkpoint to TimeImage Map. checkpoing name = [%s], time image "
              "name = [%s]",
              *checkPoint, name);
    }
    return 0;
}

int CLMRConsistencyGroup::deleteCheckPoint(CString name)
{
    std::vector<std::string> lines;
    send(lmr_commands::deleteCheckPoint(name, m_name), lines);
    m_timeImages.eraseCheckPoint(bytesOf(name));
    return 0;
}

void CLMRConsistencyGroup::setName(CString name)
{
    assign(m_name, std::move(name));
    keysChanged();
}

void CLMRConsistencyGroup::setAppliance(const CString& applianceName)
{
    assign(m_applianceName, applianceName);
}

CString CLMRConsistencyGroup::getName()
{
    return copyOf(m_name);
}

void CLMRConsistencyGroup::populateTimeImageInformation()
{
    std::vector<std::string> lines;
    const SLMRCommand command = lmr_commands::listTimeImages(m_name);
    if (!send(command, lines)) return;
    if (isEmptyTimeImageList(lines)) {
        trace(TRACE_INFO, "There are no timeimages for [%s]", m_name);
        return;
    }
    if (!isWithinBounds(*this, command, viewsOf(lines), parseTimeImageName)) {
        trace(TRACE_FAILURE, "Failed to execute command");
        return;
    }
    for (const std::string& line : lines) {
        std::string_view piece;
        if (!parseTimeImageName(line, piece)) continue;
        const CString name = textOf(piece);
        const CTimeImagePtr image = createTimeImageObject(name);
        printTimeImages();
        m_timeImages.set(piece, image);
    }
}

CTimeImagePtr CLMRConsistencyGroup::getAssociatedTimeImage(const CString& device)
{
    const CString serial = serialOfDevice(device);
    trace(TRACE_INFO, "Map count while browsing [%d]", m_timeImages.size());
    for (const auto& entry : m_timeImages.all()) {
        const CTimeImagePtr& image = entry.second;
        if (!image) continue;  // an image whose listing could not be read has nothing to look at
        trace(TRACE_INFO, "CLMRConsistencyGroup::getAssociatedTimeImage - Checking with time image [%s]",
              image->getName());
        for (const auto& [source, target] : image->getTargetDeviceMap()) {
            trace(TRACE_INFO,
                  "CLMRConsistencyGroup::getAssociatedTimeImage - Checking with target volume [%s] for device [%s].",
                  target, serial);
            if (target != serial) continue;
            // The line has always been written without its device.
            trace(TRACE_INFO,
                  "CLMRConsistencyGroup::getAssociatedTimeImage - Match found with target volume [%s] for device "
                  "[%s].",
                  target);
            return image;
        }
    }
    return {};
}

CTimeImagePtr CLMRConsistencyGroup::getTimeImage(const CString& name)
{
    return m_timeImages.find(bytesOf(name));
}

CTimeImagePtr CLMRConsistencyGroup::getTimeImageFromCheckPoint(const CString& checkpoint)
{
    return m_timeImages.findOfCheckPoint(bytesOf(checkpoint));
}

void CLMRConsistencyGroup::mapHost(CHostPtr host)
{
    changePermission("mapHost", lmr_commands::permitGroup, host);
}

void CLMRConsistencyGroup::unmapHost(CHostPtr host)
{
    changePermission("unmapHost", lmr_commands::forbidGroup, host);
}

CLMRConsistencyGroup::CTimeImageMap CLMRConsistencyGroup::getTimeImageList()
{
    CTimeImageMap images;
    for (const auto& [name, image] : m_timeImages.all()) {
        appendTo(images, name) = image;
    }
    return images;
}

CTimeImagePtr CLMRConsistencyGroup::createTimeImageObject(const CString& name)
{
    std::vector<std::string> lines;
    const int result = sendCommand(*this, m_applianceName, lmr_commands::showTimeImage(name, m_name), lines);
    trace(TRACE_DETAIL, "CLMRApplianceToolCS::instance()->execLMSH Command returned %d", result);
    if (result != 0) {
        trace(TRACE_FAILURE, "Failed to execute command");
        return {};
    }
    CTimeImagePtr image(new CLMRTimeImage(name));
    image->setApplianceName(m_applianceName);
    image->registerTraceLog(m_traceLog);
    return fillTimeImage(*image, lines) ? image : CTimeImagePtr();
}

void CLMRConsistencyGroup::printMap(const CTimeImageMap& images) const
{
    if (!isTraceEnabled(TRACE_INFO)) return;
    trace(TRACE_INFO, "Map count while printing is [%d]", images.size());
    for (const auto& [name, image] : images) {
        trace(TRACE_INFO, "printMap - Printing data for time image %s", name);
        if (!image) continue;
        for (const auto& [source, target] : image->getTargetDeviceMap()) {
            trace(TRACE_INFO, "printMap - Found target volume [%s] for [%s]", target, source);
        }
    }
}

void CLMRConsistencyGroup::printTimeImages()
{
    if (isTraceEnabled(TRACE_INFO)) printMap(getTimeImageList());
}

void CLMRConsistencyGroup::forEachKey(const std::function<void(std::string_view key)>& action) const
{
    action(bytesOf(m_name));
    for (const SCDPDeviceInfo& device : m_devices) {
        action(bytesOf(device.m_serial));
    }
}

bool CLMRConsistencyGroup::send(const SLMRCommand& command, std::vector<std::string>& lines) const
{
    const bool succeeded = sendCommand(*this, m_applianceName, command, lines) == 0;
    if (!succeeded) trace(TRACE_FAILURE, "Failed to execute command");
    return succeeded;
}

void CLMRConsistencyGroup::changePermission(const char* operation, CPermissionCommand command,
                                            const CHostPtr& host) const
{
    if (!host) {
        trace(TRACE_INVALID, "CLMRConsistencyGroup::%s - no host for [%s]", operation, m_name);
        return;
    }
    std::vector<std::string> lines;
    send(command(m_name, host->getName()), lines);
}

CString CLMRConsistencyGroup::serialOfDevice(const CString& device) const
{
    if (!bytesOf(device).starts_with("/dev/")) return copyOf(device);
    const CLMRDeviceManagerPtr& devices = CLMRAppliance::getCLMRDeviceManagerSingletonPtr();
    return devices ? devices->serialOf(device) : CString();
}

bool CLMRConsistencyGroup::fillTimeImage(CBaseTimeImage& image, const std::vector<std::string>& lines) const
{
    const SLMRImageListing listing = parseTimeImage(lines);
    if (listing.result == EImageListing::NO_LUNS) {
        trace(TRACE_FAILURE, "Invalid output could not find TimeImage LUNS section [%s] ",
              joinTexts(viewsOf(lines), "", LMR_MOST_TRACED));
        return false;
    }
    for (const SLMRImageLun& lun : listing.luns) {
        trace(TRACE_DETAIL, "Found device [%s] with ID [%s] and target device [%s] with ID [%s]", lun.sourceDevice,
              lun.sourceSerial, lun.targetDevice, lun.targetSerial);
        image.addDeviceEntry(textOf(lun.sourceSerial), textOf(lun.targetSerial));
    }
    if (listing.result == EImageListing::BAD_LUN) {
        trace(TRACE_FAILURE, "Invalid output cound not get device data. Found data as  [%s]",
              joinTexts(listing.badPieces, " , "));
        return false;
    }
    return true;
}

}  // namespace cdpfi
