#include "appliance/core/conventions/error.h"

#include <array>
#include <system_error>

namespace lumora {

std::string_view statusWord(EStatus status) noexcept
{
    switch (status) {
        case EStatus::OK:
            return "ok";
        case EStatus::MALFORMED:
            return "malformed";
        case EStatus::MISSING:
            return "missing";
        case EStatus::EXISTS:
            return "exists";
        case EStatus::IN_USE:
            return "in-use";
        case EStatus::STORAGE:
            return "storage";
        case EStatus::UNUSABLE:
            return "unusable";
        case EStatus::UNEXPECTED:
            break;
    }
    return "unexpected";
}

std::string_view objectWord(EObject object) noexcept
{
    switch (object) {
        case EObject::APPLIANCE:
            return "appliance";
        case EObject::HOST:
            return "host";
        case EObject::GROUP:
            return "group";
        case EObject::LUN:
            return "LUN";
        case EObject::ANNOTATION:
            return "annotation";
        case EObject::TIME_IMAGE:
            return "time image";
        case EObject::PERMISSION:
            return "permission of host";
        case EObject::FAULT:
            return "fault";
        case EObject::NONE:
            break;
    }
    return "object";
}

std::string inQuotes(std::string_view name)
{
    static constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string text = "\"";
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            text += "\\x";
            text += DIGITS[byte >> 4U];
            text += DIGITS[byte & 0x0FU];
        } else {
            text += c;
        }
    }
    return text + "\"";
}

void throwMissing(EObject object, std::string_view name, const std::string& where)
{
    std::string text = std::string(objectWord(object)) + " " + inQuotes(name) + " does not exist";
    throw EApplianceError(EStatus::MISSING, where.empty() ? text : text + " " + where, object);
}

void throwExists(EObject object, std::string_view name, const std::string& where)
{
    std::string text = std::string(objectWord(object)) + " " + inQuotes(name) + " exists already";
    throw EApplianceError(EStatus::EXISTS, where.empty() ? text : text + " " + where, object);
}

void throwStorage(std::string_view doing, const std::string& path, int error)
{
    throw EApplianceError(EStatus::STORAGE, "cannot " + std::string(doing) + " " + path + ": " +
                                                std::error_code(error, std::generic_category()).message());
}

}  // namespace lumora
