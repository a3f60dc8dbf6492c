#include "host/src/selection/record_filter.h"

#include <algorithm>

#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

bool SRecordFilter::matches(const SSnapshot& snapshot) const
{
    if (!states.empty() && !states.contains(snapshot.shownState())) return false;
    if (!matchesAll(snapshot.labels, labels)) return false;
    return groups.empty() || std::ranges::any_of(snapshot.groups(), [this](const GroupKey& group) {
               return groups.contains(group.second) || groups.contains(group.first + "/" + group.second);
           });
}

std::set<std::string> parseStates(const std::vector<std::string>& texts)
{
    const std::vector<std::string> known = shownStates();
    std::set<std::string> states;
    for (const std::string& text : commaSeparated(texts)) {
        if (std::ranges::find(known, text) == known.end()) {
            std::string list;
            for (const std::string& state : known) {
                list += (list.empty() ? "" : ",") + state;
            }
            throw EFictl(EExit::USAGE, "\"" + printable(text) + "\" is no state", "known are " + list);
        }
        states.insert(text);
    }
    return states;
}

}  // namespace fictl
