#include "host/src/inspection/image_owner.h"

#include <algorithm>

#include "host/src/provider/naming.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// The disk of a copy goes with its image.
bool showsCopy(const SInspection* inspection, const SSnapshot& snapshot, const GroupKey& group)
{
    const std::vector<const SDevice*> devices = snapshot.devicesOf(group);
    return inspection != nullptr && std::any_of(devices.begin(), devices.end(), [&](const SDevice* device) {
               return !device->importSerial.empty() &&
                      inspection->shows(device->importPath, device->importSerial) == EThere::YES;
           });
}

// That the record has a copy says little where another host has the record, too: a release that was killed may have
// given the image back, or somebody taken it away, and that host may have made its own since.
SImageOwner ownerOfUnseen(const SSnapshot& snapshot, const GroupKey& group, const SInspection* inspection,
                          SImageOwner found)
{
    const bool isOurs = snapshot.isImported(group) && (!snapshot.isShared() || showsCopy(inspection, snapshot, group));
    found.owner = isOurs ? EImageOwner::OURS : EImageOwner::UNKNOWN;
    return found;
}

std::set<std::string> without(std::set<std::string> hosts, const std::string& host)
{
    hosts.erase(host);
    return hosts;
}

}  // namespace

std::string hostsText(const std::set<std::string>& hosts)
{
    if (hosts.empty()) return "no host";
    std::string text = hosts.size() == 1 ? "host " : "hosts ";
    for (const std::string& host : hosts) {
        text += (text.back() == ' ' ? "\"" : ", \"") + printable(host) + "\"";
    }
    return text;
}

SImageOwner findImageOwner(const SSnapshot& snapshot, const GroupKey& group, const SInspection* inspection,
                           const std::string& why)
{
    SImageOwner found;
    found.image = naming::imageOfCheckpoint(snapshot.checkpoint);
    found.doubt = why;
    if (inspection == nullptr) return ownerOfUnseen(snapshot, group, inspection, found);
    const EThere there = inspection->hasImage(group, found.image);
    found.doubt = inspection->doubt(group);
    if (there == EThere::UNKNOWN) return ownerOfUnseen(snapshot, group, inspection, found);
    if (there == EThere::NO) {
        found.owner = EImageOwner::NONE;
        return found;
    }
    const std::optional<std::set<std::string>>& granted = inspection->image(group, found.image)->permissions;
    if (!granted) {
        found.doubt = "the appliance does not tell which host it is granted to";
        if (snapshot.isImageAsked(group)) return ownerOfUnseen(snapshot, group, inspection, found);
        found.owner = EImageOwner::OTHERS;
        found.holder = "a host that the appliance does not tell";
        return found;
    }
    const std::string& here = inspection->appliance(group.first)->host;
    if (here.empty() && snapshot.isImageAsked(group)) {
        found.doubt = "the appliance lists no host that is this one";
        return found;
    }
    const std::set<std::string> others = without(*granted, here);
    const bool isOurs =
        snapshot.isImageAsked(group) && others.empty() && inspection->isGrantedHere(group, found.image) == EThere::YES;
    found.owner = isOurs ? EImageOwner::OURS : EImageOwner::OTHERS;
    if (!isOurs) {
        found.isHere = others.empty() && granted->contains(here);
        found.holder =
            found.isHere ? "this host, host \"" + printable(here) + "\", for another catalog" : hostsText(others);
    }
    return found;
}

}  // namespace fictl
