#include "appliance/core/conventions/names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "base/plain_text.h"

namespace lumora {

namespace {

bool isAlnum(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isControl(char c) noexcept
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

[[noreturn]] void refuse(EObject object, std::string_view name, const std::string& why)
{
    // A name of many kilobytes would bury the reason.
    const bool isLong = name.size() > 300;
    const std::string shown = inQuotes(name.substr(0, 40));
    throw EApplianceError(
        EStatus::MALFORMED,
        std::string(objectWord(object)) + " name " + (isLong ? shown + "..." : inQuotes(name)) + " " + why, object);
}

void checkPlain(EObject object, std::string_view name, std::string_view marks)
{
    const bool good = isAlnum(name.front()) && std::all_of(name.begin(), name.end(), [marks](char c) {
                          return isAlnum(c) || marks.find(c) != std::string_view::npos;
                      });
    if (!good) {
        std::string allowed = "may hold letters and digits";
        for (const char mark : marks) {
            allowed += std::string(", \"") + mark + "\"";
        }
        refuse(object, name, allowed + " and must begin with a letter or digit");
    }
}

void checkFree(EObject object, std::string_view name)
{
    // Section heads of the listings: a name that holds one would be taken for the section by a reader of the listing.
    static constexpr std::array<std::string_view, 6> HEADS = {
        "Protected LUNS:", "Monitor LUNS:", "Permissions:", "Stillmark LUNs:", "TimeImage LUNs:", "There are none!"};
    if (!base::isUtf8(name)) refuse(object, name, "is not valid UTF-8");
    if (!base::isPlainText(name) || name.find('"') != std::string_view::npos) {
        refuse(object, name, "must not hold a double quote or a control character");
    }
    if (name.front() == ' ' || name.back() == ' ') refuse(object, name, "must not begin or end with a blank");
    for (const std::string_view head : HEADS) {
        if (name.find(head) != std::string_view::npos) refuse(object, name, "must not hold " + inQuotes(head));
    }
    if (object == EObject::GROUP && name.find("luns=") != std::string_view::npos) {
        refuse(object, name, "must not hold \"luns=\"");
    }
    if (object == EObject::TIME_IMAGE && name.find(' ') != std::string_view::npos) {
        refuse(object, name, "must not hold a blank");
    }
}

size_t maxLength(EObject object) noexcept
{
    switch (object) {
        case EObject::APPLIANCE:
        case EObject::LUN:
            return 64;
        case EObject::HOST:
            return 253;
        default:
            return 255;
    }
}

struct SUnit
{
    std::string_view name;
    uint64_t factor;
};

constexpr std::array<SUnit, 4> UNITS = {
    {{"TiB", 1ULL << 40U}, {"GiB", 1ULL << 30U}, {"MiB", 1ULL << 20U}, {"KiB", 1ULL << 10U}}};

// What lies beside the folders of the appliances; a database brings more files with its name.
bool isStoreFile(std::string_view name)
{
    return name.starts_with("appliance.db") || name.starts_with("faults.db") || name == "create.lock" ||
           name == "engine.conf" || name == "ceph.clients";
}

}  // namespace

void checkName(EObject object, std::string_view name)
{
    if (name.empty()) refuse(object, name, "is empty");
    if (name.size() > maxLength(object)) {
        refuse(object, name, "is longer than " + std::to_string(maxLength(object)) + " bytes");
    }
    switch (object) {
        case EObject::APPLIANCE:
            checkPlain(object, name, "._-");
            if (isStoreFile(name)) {
                refuse(object, name, "is taken by the store's own files");
            }
            break;
        case EObject::HOST:
            checkPlain(object, name, "._-");
            break;
        case EObject::LUN:
            checkPlain(object, name, "._");
            break;
        default:
            checkFree(object, name);
    }
}

uint64_t parseSize(std::string_view text)
{
    uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const std::string_view unit(rest, static_cast<size_t>(end - rest));
    uint64_t factor = 0;
    if (unit.empty() || unit == "B") factor = 1;
    for (const SUnit& known : UNITS) {
        if (unit == known.name || unit == known.name.substr(0, 1)) factor = known.factor;
    }
    // File offsets are signed.
    const auto limit = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    if (error != std::errc() || factor == 0 || number == 0 || number > limit / factor) {
        throw EApplianceError(EStatus::MALFORMED, "size " + inQuotes(text.substr(0, 40)) +
                                                      " is not a number of bytes such as 4096, 512KiB, 64MiB or 1GiB");
    }
    return number * factor;
}

std::string formatSize(uint64_t bytes)
{
    for (const SUnit& unit : UNITS) {
        if (bytes >= unit.factor && bytes % unit.factor == 0) {
            return std::to_string(bytes / unit.factor) + std::string(unit.name);
        }
    }
    return std::to_string(bytes) + "B";
}

void checkStorePath(std::string_view path)
{
    for (const char c : path) {
        if (isControl(c) || c == ' ' || c == '(' || c == ')') {
            throw EApplianceError(EStatus::UNUSABLE,
                                  "store path " + inQuotes(path) +
                                      " must not hold a blank, a parenthesis or a control character, "
                                      "because it stands in disk listings; choose another folder");
        }
    }
}

}  // namespace lumora
