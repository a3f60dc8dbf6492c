#include "host/src/snapshot/name_template.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "host/src/output/error.h"
#include "host/src/text/local_time.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* NUMBER = "{n}";

[[noreturn]] void refuse(const std::string& name, const std::string& reason)
{
    throw EFictl(EExit::USAGE, "\"" + printable(name) + "\" cannot be a snapshot's name: " + reason,
                 "fill in {date}, {time}, {host} or {n}; a name holds no other brace");
}

std::string valueOf(const std::string& field, const std::string& name, const SNameFields& fields)
{
    if (field == "date") return localDateText(fields.now);
    if (field == "time") return localClockText(fields.now);
    if (field == "host") return fields.host.substr(0, fields.host.find('.'));
    refuse(name, "{" + printable(field) + "} is not known");
}

// Fills in what does not depend on other names.
std::string withoutFields(const std::string& name, const SNameFields& fields)
{
    std::string filled;
    for (size_t at = 0; at < name.size();) {
        const size_t begin = std::min(name.find_first_of("{}", at), name.size());
        filled += name.substr(at, begin - at);
        if (begin == name.size()) break;
        const size_t end = name.find_first_of("{}", begin + 1);
        if (name[begin] != '{' || end == std::string::npos || name[end] != '}') refuse(name, "a brace stands alone");
        const std::string field = name.substr(begin + 1, end - begin - 1);
        filled += field == "n" ? NUMBER : valueOf(field, name, fields);
        at = end + 1;
    }
    return filled;
}

// The number in a name between what stands before and behind it.
std::optional<uint64_t> numberIn(const std::string& name, const std::string& before, const std::string& behind)
{
    const size_t around = before.size() + behind.size();
    if (name.size() <= around || !name.starts_with(before) || !name.ends_with(behind)) return std::nullopt;
    constexpr size_t MOST_DIGITS = 18;
    const std::string digits = name.substr(before.size(), name.size() - around);
    if (digits.size() > MOST_DIGITS || digits.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    uint64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

}  // namespace

bool hasNumber(const std::string& name)
{
    return name.find(NUMBER) != std::string::npos;
}

std::string filledName(const std::string& name, const SNameFields& fields)
{
    std::string filled = withoutFields(name, fields);
    const size_t at = filled.find(NUMBER);
    if (at == std::string::npos) return filled;
    const std::string before = filled.substr(0, at);
    const std::string behind = filled.substr(at + std::string_view(NUMBER).size());
    if (hasNumber(behind)) refuse(name, "{n} stands twice");
    uint64_t highest = 0;
    for (const std::string& taken : fields.taken()) {
        highest = std::max(highest, numberIn(taken, before, behind).value_or(0));
    }
    return before + std::to_string(highest + 1) + behind;
}

}  // namespace fictl
