#include "appliance/ceph/ceph_id.h"

#include <algorithm>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

constexpr char SEPARATOR = '.';

bool belongsToId(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

}  // namespace

void checkCephId(std::string_view id)
{
    if (!id.empty() && std::all_of(id.begin(), id.end(), belongsToId)) return;
    throw EApplianceError(EStatus::MALFORMED, inQuotes(id) + " is no id: letters, digits, \"-\" and \"_\" make one");
}

std::string importName(std::string_view content, std::string_view tag, std::string_view volume)
{
    std::string name;
    for (const std::string_view id : {content, tag, volume}) {
        checkCephId(id);
        name += (name.empty() ? "" : std::string(1, SEPARATOR)) + std::string(id);
    }
    return name;
}

bool isImportAs(std::string_view name, std::string_view tag)
{
    const size_t end = name.find(SEPARATOR);
    const size_t start = name.rfind(SEPARATOR);
    return end != start && name.substr(end + 1, start - end - 1) == tag;
}

bool isImportOf(std::string_view name, std::string_view content, std::string_view volume)
{
    const size_t end = name.find(SEPARATOR);
    const size_t start = name.rfind(SEPARATOR);
    return end != start && name.substr(0, end) == content && name.substr(start + 1) == volume;
}

}  // namespace lumora
