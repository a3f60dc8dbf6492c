#include "host/src/snapshot/copy_guard.h"

#include "host/src/devices/device_use.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

void CCopyGuard::refuse(const std::string& reason, const std::string& next) const
{
    throw EFictl(EExit::STATE,
                 "snapshot \"" + m_snapshot.name + "\": " + reason + "; nothing was " +
                     (m_action == EAction::DELETE ? "deleted" : "released"),
                 next)
        .about(m_snapshot.name);
}

SImageOwner CCopyGuard::requireOwner(const GroupKey& group)
{
    SImageOwner found = findImageOwner(m_snapshot, group, m_knowledge.seen(), m_knowledge.why());
    if (found.owner == EImageOwner::UNKNOWN) requireKnown(group, found);
    return found;
}

EThere CCopyGuard::requireOwnImage(const GroupKey& group)
{
    const SImageOwner found = requireOwner(group);
    if (found.owner == EImageOwner::OTHERS) refuseForeign(group, found);
    if (found.owner == EImageOwner::NONE) return EThere::NO;
    return found.owner == EImageOwner::OURS ? EThere::YES : EThere::UNKNOWN;
}

void CCopyGuard::refuseForeign(const GroupKey& group, const SImageOwner& found) const
{
    // Also of a catalog that was lost, and this record made anew.
    const std::string next = found.isHere
                                 ? "if no other catalog of this host has it, take it up with fictl snapshot import " +
                                       m_snapshot.name + " and run the command again"
                                 : "give it back there with fictl snapshot release " + m_snapshot.name;
    refuse("time image " + found.image + " of group " + groupText(group) + " is granted to " + found.holder +
               " and not imported by this record",
           next + (m_action == EAction::DELETE ? ", or add --even-if-in-use here to take it away from there" : ""));
}

void CCopyGuard::requireKnown(const GroupKey& group, const SImageOwner& found)
{
    const std::string copy = "a copy of group " + groupText(group);
    if (m_action == EAction::RELEASE) {
        refuse("whose " + copy + " is, is not known (" + found.doubt + ")", "mend that and run the command again");
    }
    if (!m_snapshot.isShared()) {
        m_knowledge.warnUnguarded("whether another host has " + copy, found.doubt);
        return;
    }
    refuse("another host has its record, and whether " + copy + " is in use there is not known (" + found.doubt + ")",
           "mend that and run the command again, or add --even-if-in-use to go on without knowing");
}

void CCopyGuard::requireUnused(const GroupKey& group)
{
    std::vector<const SDevice*> devices;
    std::vector<std::string> paths;
    for (const SDevice* device : m_snapshot.devicesOf(group)) {
        if (device->importPath.empty()) continue;
        // The path may show another disk by now, whose use is no reason to refuse.
        const SInspection* const seen = m_knowledge.seen();
        if (seen != nullptr && seen->showsAnother(device->importPath, device->importSerial)) continue;
        devices.push_back(device);
        paths.push_back(device->importPath);
    }
    const std::vector<Uses> uses = usesOf(paths);
    for (size_t i = 0; i < devices.size(); ++i) {
        if (!uses[i].empty()) refuseUsed(*devices[i], uses[i]);
    }
}

void CCopyGuard::refuseUsed(const SDevice& device, const std::vector<std::string>& uses) const
{
    std::string all;
    for (const std::string& use : uses) {
        all += (all.empty() ? "" : ", ") + use;
    }
    refuse("the copy " + printable(device.importPath) + " of " + printable(device.source) + " is in use: " + all,
           "end that use and run the command again, or add --even-if-in-use");
}

}  // namespace fictl
