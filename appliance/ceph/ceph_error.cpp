#include "appliance/ceph/ceph_error.h"

#include <cerrno>
#include <system_error>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

EStatus statusOf(int error)
{
    switch (error) {
        case ENOENT:
            return EStatus::MISSING;
        case EEXIST:
            return EStatus::EXISTS;
        case EBUSY:
        case ENOTEMPTY:
        case EMLINK:  // an image that is a member of a group
            return EStatus::IN_USE;
        case EACCES:
        case EPERM:
            return EStatus::UNUSABLE;
        default:
            return EStatus::STORAGE;
    }
}

std::string reasonOf(int error)
{
    if (error == EMLINK) return "it is a member of a group";
    // The number stands for a connection that was shut down; here it is the cluster that shut this client out.
    if (error == ESHUTDOWN) return "this client is on the cluster's blocklist";
    return std::error_code(error, std::generic_category()).message();
}

}  // namespace

void throwCeph(std::string_view doing, const std::string& object, int64_t code)
{
    const int error = static_cast<int>(-code);
    throw EApplianceError(statusOf(error), "cannot " + std::string(doing) + " " + object + ": " + reasonOf(error));
}

std::string imageInWords(std::string_view image, std::string_view pool)
{
    return "image " + inQuotes(image) + " of pool " + inQuotes(pool);
}

std::string groupInWords(std::string_view group, std::string_view pool)
{
    return "group " + inQuotes(group) + " of pool " + inQuotes(pool);
}

std::string contentInWords(std::string_view content, std::string_view group, std::string_view pool)
{
    return "content " + inQuotes(content) + " of " + groupInWords(group, pool);
}

}  // namespace lumora
