// What the history proves of an object, and all that keeps it from proving it.
#include <gtest/gtest.h>

#include "host/src/reconcile/proof.h"

namespace {

using namespace fictl;

const GroupKey GROUP = {"ap1", "g1"};
const std::string NAME = "KSV_Check_Point_77";
const std::string TIME = "2026-01-31T12:00:00Z";

SHistoryObject object(const char* verb, EOutcome outcome, const std::string& time = "")
{
    return {.verb = verb,
            .kind = "checkpoint",
            .appliance = "ap1",
            .group = "g1",
            .name = NAME,
            .outcome = outcome,
            .madeAt = time};
}

SHistoryEntry entry(int64_t id, const std::string& command, const std::vector<SHistoryObject>& objects,
                    const std::string& snapshot = "s")
{
    SHistoryEntry made;
    made.id = id;
    made.started = "2026-01-31T11:59:59Z";
    made.invoker.host = "here";
    made.command = command;
    made.snapshot = snapshot;
    made.objects = objects;
    return made;
}

EProof proofOf(const std::vector<SHistoryEntry>& history, const std::string& time = TIME, const std::string& doubt = "")
{
    return CHistoryProof(history, "here", doubt).of("checkpoint", GROUP, NAME, time).proof;
}

const SHistoryEntry MADE = entry(1, "fictl snapshot create s /dev/a", {object("create", EOutcome::SURE, TIME)});

TEST(HistoryProof, IsOfThisNameInThisGroupAtThisTime)
{
    EXPECT_EQ(proofOf({MADE}), EProof::OURS);
    const std::vector<SHistoryEntry> history = {MADE};
    const CHistoryProof proof(history, "here", "");
    EXPECT_EQ(proof.of("checkpoint", GROUP, NAME, TIME).entry, 1);
    EXPECT_EQ(proof.of("image", GROUP, NAME, TIME).proof, EProof::NONE);
    EXPECT_EQ(proof.of("checkpoint", {"ap2", "g1"}, NAME, TIME).proof, EProof::NONE);
    EXPECT_EQ(proof.of("checkpoint", {"ap1", "g2"}, NAME, TIME).proof, EProof::NONE);
    EXPECT_EQ(proof.of("checkpoint", GROUP, NAME + "7", TIME).proof, EProof::NONE);
    EXPECT_EQ(CHistoryProof(history, "there", "").of("checkpoint", GROUP, NAME, TIME).proof, EProof::ANOTHER);
}

TEST(HistoryProof, TimesAgreeToTheLetter)
{
    for (const char* time : {"2026-01-31T12:00:01Z", "2026-01-31T11:59:59Z", "2026-01-31T12:00:00.0Z"}) {
        EXPECT_EQ(proofOf({MADE}, time), EProof::ANOTHER) << time;
    }
    EXPECT_EQ(proofOf({MADE}, ""), EProof::DOUBT);
    EXPECT_EQ(proofOf({entry(1, "fictl", {object("create", EOutcome::SURE)})}), EProof::DOUBT);
}

TEST(HistoryProof, OnlyWhatIsSureCounts)
{
    EXPECT_EQ(proofOf({entry(1, "fictl", {object("create", EOutcome::LOST, TIME)})}), EProof::DOUBT);
    EXPECT_EQ(proofOf({entry(1, "fictl", {object("create", EOutcome::LOST, "2026-02-01T00:00:00Z")})}),
              EProof::ANOTHER);
    EXPECT_EQ(proofOf({entry(1, "fictl", {object("create", EOutcome::ASKED)})}), EProof::DOUBT);
    EXPECT_EQ(proofOf({entry(1, "fictl", {object("create", EOutcome::REFUSED)})}), EProof::NONE);
    EXPECT_EQ(proofOf({}), EProof::NONE);
    EXPECT_EQ(proofOf({MADE}, TIME, "a record cannot be read"), EProof::DOUBT);
}

TEST(HistoryProof, ADeletionEndsIt)
{
    const auto deleted = [](EOutcome outcome) { return entry(2, "fictl", {object("delete", outcome)}); };
    EXPECT_EQ(proofOf({MADE, deleted(EOutcome::SURE)}), EProof::ANOTHER);
    EXPECT_EQ(proofOf({MADE, deleted(EOutcome::LOST)}), EProof::OURS);
    EXPECT_EQ(proofOf({MADE, deleted(EOutcome::REFUSED)}), EProof::OURS);
    SHistoryEntry again = MADE;
    again.id = 3;
    EXPECT_EQ(proofOf({MADE, deleted(EOutcome::SURE), again}), EProof::OURS);
}

TEST(HistoryProof, AnExportedRecordMayBeAnothers)
{
    const SHistoryEntry before = entry(0, "fictl snapshot export s", {});
    const SHistoryEntry after = entry(2, "fictl --provider x snapshot export s --file '/a b'", {});
    EXPECT_EQ(proofOf({before, MADE}), EProof::OURS) << "of an earlier snapshot of that name";
    EXPECT_EQ(proofOf({MADE, after}), EProof::DOUBT);
    EXPECT_EQ(proofOf({MADE, entry(2, "fictl snapshot export t", {}, "t")}), EProof::OURS);
    const SHistoryEntry adopted = entry(2, "fictl reconcile --adopt=" + NAME + " --as t", {}, "t");
    EXPECT_EQ(proofOf({MADE, adopted, entry(3, "fictl snapshot export t", {}, "t")}), EProof::DOUBT);
}

}  // namespace
