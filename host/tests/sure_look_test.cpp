// Whether a process that is gone was killed is judged by what it had entered at its end.
#include "host/src/catalog/sure_look.h"

#include <gtest/gtest.h>

namespace fictl {

namespace {

// Of a start of the host that is over.
SProcessIdentity gone(int64_t pid)
{
    SProcessIdentity process;
    process.pid = pid;
    process.bootId = "of another start";
    return process;
}

SHistoryEntry entryOf(const SProcessIdentity& process, bool hasEnd)
{
    SHistoryEntry entry;
    entry.process = process;
    if (hasEnd) entry.end = SHistoryEnd{};
    return entry;
}

/// Looks at a catalog of which each reading gives other entries, the last one again and again; how many looks it takes.
size_t looksAt(const std::vector<std::vector<SHistoryEntry>>& readings)
{
    size_t looks = 0;
    return lookUntilSure([&](CMetProcesses& met) {
        met.add({}, readings[std::min(looks, readings.size() - 1)]);
        return ++looks;
    });
}

TEST(SureLook, AnEndThatIsEnteredRightAfterTheReadingIsRead)
{
    EXPECT_EQ(looksAt({{entryOf(gone(1), false)}, {entryOf(gone(1), true)}}), 2U);
    EXPECT_EQ(looksAt({{entryOf(gone(1), false)}, {entryOf(gone(1), false), entryOf(gone(2), false)}}), 3U);
}

TEST(SureLook, WhatWasKilledIsLookedAtTwice)
{
    EXPECT_EQ(looksAt({{entryOf(gone(1), false)}}), 2U);
}

TEST(SureLook, WhatLivesOrHasItsEndIsLookedAtOnce)
{
    EXPECT_EQ(looksAt({{entryOf(thisProcess(), false), entryOf(gone(1), true)}}), 1U);
}

TEST(SureLook, EndsAlsoWhereEachLookMeetsOthers)
{
    int64_t pid = 1;
    size_t looks = 0;
    lookUntilSure([&](CMetProcesses& met) {
        met.add(entryOf(gone(pid++), false));
        return ++looks;
    });
    EXPECT_EQ(looks, 10U);
}

TEST(SureLook, TheOwnerOfARecordCountsWhileTheRecordSaysThatItIsAtWork)
{
    size_t looks = 0;
    const EState last = lookUntilSure([&](CMetProcesses& met) {
        SSnapshot record;
        record.owner = gone(1);
        record.state = ++looks == 1 ? EState::CREATING : EState::COMPLETE;
        met.add({.snapshots = {record}});
        return record.state;
    });
    EXPECT_EQ(looks, 2U);
    EXPECT_EQ(last, EState::COMPLETE);
}

}  // namespace

}  // namespace fictl
