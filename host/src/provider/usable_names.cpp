#include "host/src/provider/usable_names.h"

#include <vector>

#include "host/src/provider/naming.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// A document takes 4096 bytes for a node's state, which holds three of them.
constexpr size_t LONGEST_NAME = 1024;

/// A text that means something else than a part of a name, and what.
struct SMark
{
    std::string text;
    const char* meaning;
};

std::vector<SMark> marksFor(std::string_view provider, ENamed object)
{
    std::vector<SMark> marks = {{"\"", "ends a name in the appliance's commands"}};
    if (object == ENamed::SERIAL) {
        for (const std::string& tag : naming::targetTags()) {
            marks.push_back({tag, "marks a part of a target device's name"});
        }
        marks.push_back({"/", "marks a path"});
    }
    if (object != ENamed::APPLIANCE) {
        marks.push_back({"/dev/", "marks a device path"});
        marks.push_back({naming::nodePrefix(provider), "marks a node of the provider"});
    }
    for (const std::string& tag : nodeStateTags()) {
        marks.push_back({tag, "marks a part of a node's state"});
    }
    return marks;
}

std::string faultOf(std::string_view provider, ENamed object, const std::string& name)
{
    if (name.empty()) return "is empty";
    if (name.size() > LONGEST_NAME) return "is longer than " + std::to_string(LONGEST_NAME) + " bytes";
    if (!base::isUtf8(name)) return "is not valid UTF-8";
    if (!isPlainText(name)) return "holds a control character";
    for (const SMark& mark : marksFor(provider, object)) {
        if (name.find(mark.text) == std::string::npos) continue;
        const std::string shown = mark.text == "\"" ? "a double quote" : '"' + mark.text + '"';
        return "holds " + shown + ", which " + mark.meaning;
    }
    return {};
}

// A name of many kilobytes would bury the reason.
std::string shortened(const std::string& name)
{
    constexpr size_t ENOUGH = 300;
    constexpr size_t BEGINNING = 40;
    return name.size() <= ENOUGH ? '"' + printable(name) + '"' : '"' + printable(name.substr(0, BEGINNING)) + "\"...";
}

SNameProblem problemOf(ENamed object, const std::string& name, const std::string& fault)
{
    switch (object) {
        case ENamed::APPLIANCE:
            return {"the name of appliance " + shortened(name) + " " + fault,
                    "configure the appliance by another name"};
        case ENamed::GROUP:
            return {"the name of consistency group " + shortened(name) + " " + fault,
                    "give the group another name on the appliance, or move its LUNs to another group"};
        default:
            return {"serial " + shortened(name) + " " + fault, "give the LUN another serial on the appliance"};
    }
}

}  // namespace

std::optional<SNameProblem> findNameProblem(std::string_view provider, ENamed object, const std::string& name)
{
    const std::string fault = faultOf(provider, object, name);
    return fault.empty() ? std::nullopt : std::optional(problemOf(object, name, fault));
}

std::optional<SNameProblem> findNameProblem(std::string_view provider, const SNodeState& state)
{
    for (const auto& [object, name] : {std::pair{ENamed::APPLIANCE, &state.applianceName},
                                       {ENamed::GROUP, &state.consistencyGroup},
                                       {ENamed::SERIAL, &state.serialNo}}) {
        if (std::optional<SNameProblem> problem = findNameProblem(provider, object, *name)) return problem;
    }
    return std::nullopt;
}

}  // namespace fictl
