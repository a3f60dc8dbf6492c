#include "appliance/core/conventions/error.h"

#include <array>
#include <system_error>
#include <utility>

#include "base/plain_text.h"

namespace lumora {

namespace {

// In the order of EStatus.
constexpr std::array<std::string_view, 8> STATUS_WORDS = {"ok",     "unexpected", "malformed", "missing",
                                                          "exists", "in-use",     "storage",   "unusable"};
// In the order of EObject.
constexpr std::array<std::string_view, 9> OBJECT_WORDS = {
    "object", "appliance", "host", "group", "LUN", "annotation", "time image", "permission of host", "fault"};

// The text, and where the object was looked for.
std::string joined(std::string text, const std::string& where)
{
    return where.empty() ? text : std::move(text) + " " + where;
}

std::string named(EObject object, std::string_view name)
{
    return std::string(objectWord(object)) + " " + inQuotes(name);
}

}  // namespace

std::string_view statusWord(EStatus status) noexcept
{
    return STATUS_WORDS[static_cast<size_t>(status)];
}

std::string_view objectWord(EObject object) noexcept
{
    return OBJECT_WORDS[static_cast<size_t>(object)];
}

std::string inQuotes(std::string_view name)
{
    return '"' + base::printable(name, "0123456789ABCDEF") + '"';
}

void tidyUp(const std::function<void()>& step)
{
    try {
        step();
    } catch (const EApplianceError&) {
        return;
    }
}

void throwMissing(EObject object, std::string_view name, const std::string& where)
{
    throw EApplianceError(EStatus::MISSING, joined(named(object, name) + " does not exist", where), object);
}

void throwExists(EObject object, std::string_view name, const std::string& where)
{
    throw EApplianceError(EStatus::EXISTS, joined(named(object, name) + " exists already", where), object);
}

void throwStorage(std::string_view doing, const std::string& path, int error)
{
    throw EApplianceError(EStatus::STORAGE, "cannot " + std::string(doing) + " " + path + ": " +
                                                std::error_code(error, std::generic_category()).message());
}

}  // namespace lumora
