#pragma once

#include <string>
#include <vector>

#include "base/tests/text_file.h"

/**
 * What the appliance's shell and the disk utility answer, in the form that their readers (lmr/listings) and the
 * embedded appliance agree on. Whoever tests with such an answer takes it from here; an answer that is odd on purpose
 * is written out where it is used.
 */
namespace cdpfi::answers {

struct SLun
{
    std::string device;
    std::string serial;
};

/// A LUN of a time image, and the protected one that it is a copy of.
struct SImageLun
{
    SLun target;
    SLun source;
};

/// NAME luns=COUNT
inline std::string groupLine(const std::string& name, size_t luns = 1)
{
    return name + " luns=" + std::to_string(luns) + "\n";
}

/// NAME CREATED
inline std::string timeImageLine(const std::string& name)
{
    return name + " 2024-05-01T10:00:00Z\n";
}

/// DEVICE [SERIAL] SIZE
inline std::string lunLine(const SLun& lun)
{
    return lun.device + " [" + lun.serial + "] 10GB\n";
}

/// DEVICE [SERIAL] <- DEVICE [SERIAL]
inline std::string imageLunLine(const SImageLun& lun)
{
    return lun.target.device + " [" + lun.target.serial + "] <- " + lun.source.device + " [" + lun.source.serial +
           "]\n";
}

/// DEVICE (ADDRESS) VENDOR (TYPE) SIZE (STATE) (SERIAL)
inline std::string diskLine(const SLun& disk)
{
    return disk.device + " (0:0:1:0) LUMORA (disk) 10GB (online) (" + disk.serial + ")\n";
}

/// The answer to "list hosts".
inline std::string hosts(const std::vector<std::string>& names)
{
    return base_test::joined(names);
}

/// The answer to "list cgroups".
inline std::string groups(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        text += groupLine(name);
    }
    return text;
}

/// The answer to "show cgroup", with these lines for its LUNs.
inline std::string groupWith(const std::string& name, const std::string& lunLines,
                             const std::vector<std::string>& hosts = {})
{
    return "Consistency Group: " + name + "\nProtected LUNS:\n" + lunLines + "Monitor LUNS:\nPermissions:\n" +
           base_test::joined(hosts) + "Stillmark LUNs:\n";
}

inline std::string group(const std::string& name, const std::vector<SLun>& luns,
                         const std::vector<std::string>& hosts = {})
{
    std::string lines;
    for (const SLun& lun : luns) {
        lines += lunLine(lun);
    }
    return groupWith(name, lines, hosts);
}

/// The answer to "list timeimages".
inline std::string timeImages(const std::vector<std::string>& names)
{
    if (names.empty()) return "There are none!\n";
    std::string text;
    for (const std::string& name : names) {
        text += timeImageLine(name);
    }
    return text;
}

/// The answer to "show timeimage".
inline std::string timeImage(const std::string& name, const std::vector<SImageLun>& luns)
{
    std::string text = "TimeImage: " + name + "\nTimeImage LUNs:\n";
    for (const SImageLun& lun : luns) {
        text += imageLunLine(lun);
    }
    return text;
}

/// The disk utility's answer to "listdisk".
inline std::string disks(const std::vector<SLun>& disks)
{
    std::string text = "Disks of this host\n" + std::string(122, '=') + "\n";
    for (const SLun& disk : disks) {
        text += diskLine(disk);
    }
    return text;
}

}  // namespace cdpfi::answers
