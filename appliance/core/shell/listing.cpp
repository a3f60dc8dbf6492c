#include "appliance/core/shell/listing.h"

#include <string>

#include "appliance/core/conventions/names.h"

namespace lumora {

namespace {

// A name as it is, and not as a message shows it: no name holds a double quote.
std::string quoted(const std::string& name)
{
    return '"' + name + '"';
}

std::string describe(const STimeImage& image)
{
    return image.name + " " + image.created + " annotation=" + quoted(image.annotation);
}

std::string describe(const SAnnotation& annotation)
{
    return quoted(annotation.name) + " " + annotation.created + " " + quoted(annotation.message) +
           " images=" + std::to_string(annotation.timeImages);
}

std::string describe(const SLun& lun)
{
    return deviceName(lun.name) + " [" + lun.serial + "] " + formatSize(lun.size);
}

}  // namespace

Lines listHosts(const std::vector<SHost>& hosts)
{
    Lines lines;
    for (const SHost& host : hosts) {
        lines.push_back(host.name);
    }
    return lines;
}

Lines listGroups(const std::vector<SGroup>& groups)
{
    Lines lines;
    for (const SGroup& group : groups) {
        lines.push_back(group.name + " luns=" + std::to_string(group.luns) + " annotations=" +
                        std::to_string(group.annotations) + " timeimages=" + std::to_string(group.timeImages));
    }
    return lines;
}

Lines showHost(const SHost& host, const std::vector<SLun>& presented)
{
    Lines lines = {"Host: " + host.name, "Presented LUNs:"};
    for (const SLun& lun : presented) {
        lines.push_back(describe(lun));
    }
    return lines;
}

Lines showGroup(const SGroupDetails& details)
{
    Lines lines = {"Consistency Group: " + details.group.name, "Protected LUNS:"};
    for (const SLun& lun : details.luns) {
        lines.push_back(describe(lun));
    }
    // This appliance protects every LUN of a group, and keeps its own data out of LUNs.
    lines.emplace_back("Monitor LUNS:");
    lines.emplace_back("Permissions:");
    for (const SHost& host : details.hosts) {
        lines.push_back(host.name);
    }
    lines.emplace_back("Stillmark LUNs:");
    lines.emplace_back("Annotations:");
    for (const SAnnotation& annotation : details.annotations) {
        lines.push_back(describe(annotation));
    }
    lines.emplace_back("Time images:");
    for (const STimeImage& image : details.timeImages) {
        lines.push_back(describe(image));
    }
    return lines;
}

Lines listTimeImages(const std::vector<STimeImage>& images)
{
    if (images.empty()) return {"There are none!"};
    Lines lines;
    for (const STimeImage& image : images) {
        lines.push_back(describe(image));
    }
    return lines;
}

Lines showTimeImage(const STimeImageDetails& details)
{
    const STimeImage& image = details.image;
    std::string hosts;
    for (const SHost& host : details.hosts) {
        hosts += (hosts.empty() ? "" : " ") + host.name;
    }
    Lines lines = {"TimeImage: " + image.name,
                   "Consistency Group: " + details.group.name,
                   "Annotation: " + image.annotation,
                   "Created: " + image.created,
                   std::string("Preserve Mode: ") + (image.retention.preserve ? "yes" : "no"),
                   "Prevent Expiration Timeout: " + std::to_string(image.retention.preventExpiration),
                   "Proactive Expiration Timeout: " + std::to_string(image.retention.proactiveExpiration),
                   "Permissions: " + hosts,
                   "TimeImage LUNs:"};
    for (const SImageLun& lun : details.luns) {
        lines.push_back(imageDeviceName(image.id, lun.source.name) + " [" + lun.serial + "] <- " +
                        deviceName(lun.source.name) + " [" + lun.source.serial + "]");
    }
    return lines;
}

}  // namespace lumora
