#include "host/src/reconcile/object_judge.h"

#include <algorithm>

#include "host/src/inspection/image_owner.h"
#include "host/src/provider/naming.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string recordText(const SSnapshot& record)
{
    return "record \"" + record.name + "\" (" + record.shownState() + ")";
}

std::string atText(const std::string& time)
{
    return time.empty() ? "" : " of " + time;
}

bool hasGroup(const SSnapshot& record, const GroupKey& group)
{
    return record.groups().contains(group);
}

}  // namespace

void CObjectJudge::run()
{
    for (const SSnapshot& record : m_comparison.after.records.snapshots) {
        judgeRecord(record);
    }
    for (const SUnreadable& record : m_comparison.after.records.unreadable) {
        SFoundObject object{.kind = EObjectKind::RECORD, .name = record.name, .record = record.name};
        object.add("record", "it cannot be read: " + printable(record.reason));
        m_found.objects.push_back(std::move(object));
    }
    if (m_comparison.seen == nullptr) {
        m_found.notTold.push_back({.reason = m_comparison.why});
        return;
    }
    for (const auto& [name, appliance] : m_comparison.seen->appliances) {
        if (!appliance.groupsRead) m_found.notTold.push_back({.appliance = name, .reason = appliance.reason});
        for (const auto& [group, seen] : appliance.groups) {
            judgeGroup({name, group}, seen);
        }
    }
    if (!m_comparison.seen->disksRead) {
        m_found.notTold.push_back({.reason = "the disks of this host could not be told"});
    }
}

void CObjectJudge::judgeGroup(const GroupKey& group, const SInspectedGroup& seen)
{
    const bool isTold = seen.read && seen.annotations;
    if (!isTold || !seen.imagesRead) {
        m_found.notTold.push_back(
            {.appliance = group.first, .group = group.second, .reason = m_comparison.seen->doubt(group)});
    }
    if (isTold) {
        for (const auto& [name, time] : *seen.annotations) {
            judgeCheckpoint(group, name, time);
        }
    }
    for (const auto& [name, image] : seen.images) {
        judgeImage(group, image);
    }
}

bool CObjectJudge::isUnderWay(SFoundObject& object, const char* kind) const
{
    const std::string what = m_underWay.ofObject(kind, object.group, object.name);
    if (what.empty()) return false;
    object.klass = EObjectClass::IN_FLIGHT;
    object.add("process", what);
    return true;
}

void CObjectJudge::judgeByHistory(SFoundObject& object, const char* kind) const
{
    const SProof proof = m_proof.of(kind, object.group, object.name, object.time);
    object.entry = proof.entry;
    object.klass = proof.proof == EProof::OURS    ? EObjectClass::ORPHAN
                   : proof.proof == EProof::DOUBT ? EObjectClass::UNKNOWN
                                                  : EObjectClass::FOREIGN;
    object.add("history", proof.text);
}

void CObjectJudge::judgeCheckpoint(const GroupKey& group, const std::string& name, const std::string& time)
{
    SFoundObject object{.kind = EObjectKind::CHECKPOINT, .group = group, .name = name, .time = time};
    object.add("listing", "group " + printable(groupText(group)) + " lists it" + atText(time));
    if (!isUnderWay(object, "checkpoint") && !isOfRecord(object)) judgeByHistory(object, "checkpoint");
    m_found.objects.push_back(std::move(object));
}

// Of several records of one checkpoint the one that is sure of it counts.
bool CObjectJudge::isOfRecord(SFoundObject& object) const
{
    const SSnapshot* sure = nullptr;
    const SSnapshot* unsure = nullptr;
    for (const SSnapshot& record : m_comparison.after.records.snapshots) {
        if (record.checkpoint != object.name || !hasGroup(record, object.group)) continue;
        const SDevice& device = *record.devicesOf(object.group).front();
        if (device.made == EMade::NO) continue;
        if (m_comparison.seen->hasReplacedCheckpoint(device)) {
            object.add("record", recordText(record) + " has one of " + printable(device.madeAt) + ": another one");
        } else {
            (device.made == EMade::YES ? sure : unsure) = &record;
        }
    }
    const SSnapshot* const record = sure != nullptr ? sure : unsure;
    if (record == nullptr) {
        object.add("record", "no record has it");
        return false;
    }
    object.klass = sure != nullptr ? EObjectClass::OWNED : EObjectClass::UNKNOWN;
    object.record = record->name;
    object.add("record",
               recordText(*record) +
                   (sure != nullptr ? " has it" : " asked for it, and whether it was made by that is not known"));
    return true;
}

void CObjectJudge::judgeImage(const GroupKey& group, const SInspectedImage& image)
{
    SFoundObject object{.kind = EObjectKind::IMAGE, .group = group, .name = image.name, .time = image.created};
    const std::string granted = image.permissions ? hostsText(*image.permissions) : "hosts that are not told";
    object.add("listing",
               "group " + printable(groupText(group)) + " lists it" + atText(image.created) + ", for " + granted);
    if (!isUnderWay(object, "image") && !isImageOfRecord(object, image)) {
        judgeByHistory(object, "image");
        const std::string& here = m_comparison.seen->appliance(group.first)->host;
        const bool isForHereAlone = image.permissions && !here.empty() && *image.permissions == std::set{here};
        if (object.klass == EObjectClass::ORPHAN && !isForHereAlone) {
            object.klass = EObjectClass::UNKNOWN;
            object.add("listing", "it is not for this host alone");
        }
    }
    judgeCopies(object, image);
    m_found.objects.push_back(std::move(object));
}

bool CObjectJudge::isImageOfRecord(SFoundObject& object, const SInspectedImage& image) const
{
    for (const SSnapshot& record : m_comparison.after.records.snapshots) {
        if (naming::imageOfCheckpoint(record.checkpoint) != image.name || !hasGroup(record, object.group)) continue;
        const SDevice& device = *record.devicesOf(object.group).front();
        if (device.made == EMade::NO || m_comparison.seen->hasReplacedCheckpoint(device)) continue;
        const SImageOwner owner = findImageOwner(record, object.group, m_comparison.seen, "");
        // What this record does not have may be what an earlier one had.
        if (owner.owner == EImageOwner::OTHERS) {
            object.add("record", recordText(record) + " has its checkpoint, and has not imported it");
            continue;
        }
        object.record = record.name;
        object.klass = owner.owner == EImageOwner::OURS ? EObjectClass::OWNED : EObjectClass::UNKNOWN;
        object.add("record", recordText(record) + (owner.owner == EImageOwner::OURS
                                                       ? " has imported it"
                                                       : " may have imported it: " + printable(owner.doubt)));
        return true;
    }
    return false;
}

// A disk is whose the image is that it shows.
void CObjectJudge::judgeCopies(const SFoundObject& image, const SInspectedImage& seen)
{
    for (const SInspectedLun& lun : seen.luns) {
        for (const auto& [path, serial] : m_comparison.seen->disks) {
            if (serial != lun.serial) continue;
            SFoundObject copy{.kind = EObjectKind::COPY,
                              .klass = image.klass,
                              .group = image.group,
                              .name = path,
                              .time = image.time,
                              .record = image.record,
                              .entry = image.entry};
            copy.add("disk", "it shows LUN " + printable(serial) + " of time image " + printable(image.name) +
                                 ", which is " + classText(image.klass));
            m_found.objects.push_back(std::move(copy));
        }
    }
}

void CObjectJudge::judgeRecord(const SSnapshot& record)
{
    SFoundObject object{
        .kind = EObjectKind::RECORD, .name = record.name, .time = record.created, .record = record.name};
    object.add("record", "it is " + record.shownState());
    if (const std::string what = m_underWay.ofRecord(record.name); !what.empty()) {
        object.klass = EObjectClass::IN_FLIGHT;
        object.add("process", what);
    } else if (record.provider != m_comparison.provider) {
        object.add("record",
                   "it is of provider \"" + printable(record.provider) + "\", whose appliances were not looked at");
    } else {
        size_t there = 0;
        size_t unknown = 0;
        for (const GroupKey& group : record.groups()) {
            judgeGroupOf(record, group, object, there, unknown);
        }
        object.klass = there > 0 ? EObjectClass::OWNED : unknown > 0 ? EObjectClass::UNKNOWN : EObjectClass::STALE;
        judgeClaimedCopies(record);
    }
    m_found.objects.push_back(std::move(object));
}

void CObjectJudge::judgeGroupOf(const SSnapshot& record, const GroupKey& group, SFoundObject& object, size_t& there,
                                size_t& unknown) const
{
    const SDevice& device = *record.devicesOf(group).front();
    const std::string where = "group " + printable(groupText(group));
    const SInspection* const seen = m_comparison.seen;
    if (device.made == EMade::NO) {
        object.add("record", "nothing of it is in " + where);
        return;
    }
    const EThere isThere = seen == nullptr ? EThere::UNKNOWN : seen->hasCheckpoint(group, record.checkpoint);
    if (isThere == EThere::UNKNOWN) {
        ++unknown;
        object.add("listing",
                   where + " is not told: " + printable(seen == nullptr ? m_comparison.why : seen->doubt(group)));
    } else if (isThere == EThere::NO) {
        object.add("listing", where + " does not list " + record.checkpoint);
    } else if (seen->hasReplacedCheckpoint(device)) {
        object.add("listing", where + " lists " + record.checkpoint + " of " +
                                  seen->checkpointTime(group, record.checkpoint) + ", and its own was of " +
                                  printable(device.madeAt));
    } else if (device.made == EMade::UNKNOWN) {
        ++unknown;
        object.add("listing", where + " lists " + record.checkpoint + ", and whether that is its own is not known");
    } else {
        ++there;
        object.add("listing",
                   where + " lists " + record.checkpoint + atText(seen->checkpointTime(group, record.checkpoint)));
    }
}

// What a record says to have imported and no image shows.
void CObjectJudge::judgeClaimedCopies(const SSnapshot& record)
{
    const SInspection* const seen = m_comparison.seen;
    for (const SDevice& device : record.devices) {
        if (device.importPath.empty()) continue;
        const bool isKnown =
            seen != nullptr && (!device.importSerial.empty() || !seen->disks.contains(device.importPath));
        const EThere shows = isKnown ? seen->shows(device.importPath, device.importSerial) : EThere::UNKNOWN;
        const std::string image = naming::imageOfCheckpoint(record.checkpoint);
        // The image tells of a disk that shows it.
        if (shows == EThere::YES && seen->hasImage(device.group(), image) == EThere::YES) continue;
        SFoundObject copy{.kind = EObjectKind::COPY,
                          .klass = shows == EThere::NO ? EObjectClass::STALE : EObjectClass::UNKNOWN,
                          .group = device.group(),
                          .name = device.importPath,
                          .record = record.name};
        copy.add("record", recordText(record) + " has it as the copy of " + printable(device.source));
        copy.add("disk", shows == EThere::NO    ? "no disk of that path shows LUN " + printable(device.importSerial)
                         : shows == EThere::YES ? "its time image is not told"
                                                : "the disks of this host are not told");
        m_found.objects.push_back(std::move(copy));
    }
}

}  // namespace fictl
