#include "appliance/core/error.h"

#include <array>
#include <system_error>

namespace lumora {

std::string_view statusWord(EStatus status) noexcept
{
    switch (status) {
        case EStatus::ok:
            return "ok";
        case EStatus::malformed:
            return "malformed";
        case EStatus::missing:
            return "missing";
        case EStatus::exists:
            return "exists";
        case EStatus::inUse:
            return "in-use";
        case EStatus::storage:
            return "storage";
        case EStatus::unusable:
            return "unusable";
        case EStatus::unexpected:
            break;
    }
    return "unexpected";
}

std::string_view objectWord(EObject object) noexcept
{
    switch (object) {
        case EObject::appliance:
            return "appliance";
        case EObject::host:
            return "host";
        case EObject::group:
            return "group";
        case EObject::lun:
            return "LUN";
        case EObject::annotation:
            return "annotation";
        case EObject::timeImage:
            return "time image";
        case EObject::permission:
            return "permission of host";
        case EObject::fault:
            return "fault";
        case EObject::none:
            break;
    }
    return "object";
}

std::string inQuotes(std::string_view name)
{
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text = "\"";
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            text += "\\x";
            text += digits[byte >> 4U];
            text += digits[byte & 0x0FU];
        } else {
            text += c;
        }
    }
    return text + "\"";
}

void throwMissing(EObject object, std::string_view name, const std::string& where)
{
    std::string text = std::string(objectWord(object)) + " " + inQuotes(name) + " does not exist";
    throw EApplianceError(EStatus::missing, where.empty() ? text : text + " " + where, object);
}

void throwExists(EObject object, std::string_view name, const std::string& where)
{
    std::string text = std::string(objectWord(object)) + " " + inQuotes(name) + " exists already";
    throw EApplianceError(EStatus::exists, where.empty() ? text : text + " " + where, object);
}

void throwStorage(std::string_view doing, const std::string& path, int error)
{
    throw EApplianceError(EStatus::storage, "cannot " + std::string(doing) + " " + path + ": " +
                                                std::error_code(error, std::generic_category()).message());
}

}  // namespace lumora
