#include "host/src/snapshot/group_import.h"

#include <algorithm>
#include <limits>

#include "host/src/output/error.h"
#include "host/src/process/signals.h"

namespace fictl {

void CGroupImport::run(const Images& images, CGroupWork& work)
{
    std::set<GroupKey> all;
    std::set<GroupKey> withoutImage;
    for (const auto& [group, image] : images) {
        all.insert(group);
        if (image != CImportChecks::EImage::IS_THERE) withoutImage.insert(group);
    }
    const auto make = [&](const GroupKey& group) {
        makeImage(group, images.at(group) == CImportChecks::EImage::MAY_BE_THERE, work.lock());
    };
    if (!withoutImage.empty()) {
        // Of two hosts that import at the same time, the one that gets the first group goes on: with half of the groups
        // each, neither could give its own back.
        const GroupKey decisive = *withoutImage.begin();
        work.run({decisive}, make);
        if (work.hasFailed(decisive)) return;
        withoutImage.erase(decisive);
    }
    work.run(withoutImage, make);
    const auto first =
        std::find_if(all.begin(), all.end(), [&](const GroupKey& group) { return !work.hasFailed(group); });
    if (first == all.end()) return;
    work.run({*first}, [&](const GroupKey& group) { findCopies(group, 1, work.lock()); });
    // What keeps one copy from showing mostly keeps all of them, and each would be looked for as long.
    if (work.hasFailed(*first)) return;
    work.run(all, [&](const GroupKey& group) { findCopies(group, std::numeric_limits<size_t>::max(), work.lock()); });
}

void CGroupImport::noteAsked(const GroupKey& group, std::mutex& lock)
{
    const std::lock_guard guard(lock);
    m_isTouched = true;
    for (SDevice* device : m_snapshot.devicesOf(group)) {
        device->imageAsked = true;
    }
    m_catalog.updateGroup(m_snapshot, group);
}

// An image that cannot be made may be there already where nothing could be looked at: then the copies can be found if
// it is granted to this host.
void CGroupImport::makeImage(const GroupKey& group, bool mayBeThere, std::mutex& lock)
{
    m_progress.step("make the time image of group " + groupText(group));
    noteAsked(group, lock);
    const SDevice& device = *m_snapshot.devicesOf(group).front();
    try {
        m_importer.makeImage(device);
    } catch (const EFictl& error) {
        if (!mayBeThere || stopRequested()) throw;
        try {
            m_importer.findCopy(device);
        } catch (const EFictl&) {
            throw error;
        }
    }
}

void CGroupImport::findCopies(const GroupKey& group, size_t most, std::mutex& lock)
{
    for (size_t i = 0; i < m_snapshot.devices.size() && most > 0; ++i) {
        const SDevice& device = m_snapshot.devices[i];
        if (device.group() != group || !device.importPath.empty()) continue;
        stopPoint();
        findCopy(i, lock);
        --most;
    }
}

void CGroupImport::findCopy(size_t position, std::mutex& lock)
{
    SDevice& device = m_snapshot.devices[position];
    m_progress.step("import " + device.source);
    {
        const std::lock_guard guard(lock);
        m_isTouched = true;
    }
    const CImporter::SCopy copy = m_importer.findCopy(device);
    const std::lock_guard guard(lock);
    device.importPath = copy.path;
    device.importSerial = copy.serial;
    device.imageAsked = true;
    m_catalog.updateDevice(m_snapshot, position);
}

}  // namespace fictl
