#include "host/src/selection/rotation.h"

#include <algorithm>
#include <tuple>

#include "host/src/selection/record_columns.h"
#include "host/src/text/display_text.h"

namespace fictl {

namespace {

// Whatever LUNs a snapshot is of; a name of none of the parts holds a newline.
std::string seriesOf(const SSnapshot& snapshot)
{
    std::set<std::string> luns;
    for (const SDevice& device : snapshot.devices) {
        luns.insert(device.group().first + "\n" + device.group().second + "\n" + device.state.serialNo + "\n");
    }
    std::string series = snapshot.provider + "\n";
    for (const std::string& lun : luns) {
        series += lun;
    }
    return series;
}

// Why the rules do not count it; empty when they do.
std::string whyNotCounted(const SSnapshot& snapshot, UtcTime now)
{
    if (snapshot.origin == ORIGIN_ADOPTED) return "it was adopted";
    if (snapshot.origin != "created") return "it came from another host";
    if (!snapshot.isWhole()) return "it is " + snapshot.shownState();
    const std::optional<UtcTime> created = utcSecondsOf(snapshot.created);
    if (!created) return "when it was made is not known";
    return *created > now ? "its time lies in the future" : "";
}

// Why one that no rule keeps stays all the same; empty when it goes.
std::string whySpared(const SSnapshot& snapshot, const SRotation& rotation)
{
    if (snapshot.state != EState::COMPLETE) return "it is " + snapshot.shownState();
    if (!snapshot.thaw.empty()) return "its application may still be frozen";
    const bool isHere = std::ranges::any_of(snapshot.groups(), [&](const GroupKey& group) {
        return snapshot.isImported(group) || snapshot.isImageAsked(group);
    });
    if (isHere) return "a copy of it may be on this host";
    const bool isYoung = rotation.olderThan && rotation.now - *utcSecondsOf(snapshot.created) < *rotation.olderThan;
    return isYoung ? "it is younger than " + rotation.olderThanText : "";
}

std::string joined(const std::vector<std::string>& texts)
{
    std::string list;
    for (const std::string& text : texts) {
        list += (list.empty() ? "" : ", ") + text;
    }
    return list;
}

bool isBefore(const SRotated& one, const SRotated& other)
{
    if (one.groups != other.groups) return SNameOrder()(one.groups, other.groups);
    if (one.created != other.created) return one.created > other.created;
    return SNameOrder()(other.name, one.name);
}

}  // namespace

std::vector<SRotated> judge(const std::vector<SSnapshot>& snapshots, const SRotation& rotation)
{
    std::vector<SRotated> judged;
    std::vector<SKeepable> counted;
    std::vector<const SSnapshot*> countedRecords;
    const auto enter = [&](const SSnapshot& snapshot, bool goes, const std::string& reason) {
        judged.push_back({snapshot.name, snapshot.created, groupNames(snapshot), goes, reason});
    };
    for (const SSnapshot& snapshot : snapshots) {
        if (!matchesAll(snapshot.labels, rotation.labels)) continue;
        const std::string why = whyNotCounted(snapshot, rotation.now);
        if (!why.empty()) {
            enter(snapshot, false, why);
            continue;
        }
        counted.push_back({snapshot.name, *utcSecondsOf(snapshot.created), seriesOf(snapshot)});
        countedRecords.push_back(&snapshot);
    }
    const std::vector<std::vector<std::string>> reasons = keptBy(counted, rotation.rules, rotation.offset);
    for (size_t i = 0; i < counted.size(); ++i) {
        const std::string why =
            reasons[i].empty() ? whySpared(*countedRecords[i], rotation) : "kept: " + joined(reasons[i]);
        enter(*countedRecords[i], why.empty(), why.empty() ? "no rule keeps it" : why);
    }
    std::ranges::sort(judged, isBefore);
    return judged;
}

}  // namespace fictl
