// How a job does: by examples, and against a plain reference for random runs.
#include "host/src/schedule/job_status.h"

#include <gtest/gtest.h>

#include <random>

namespace fictl {

namespace {

using namespace std::chrono_literals;
using Second = std::chrono::seconds;

UtcTime at(int64_t seconds)
{
    return UtcTime(Second(seconds));
}

SJobRun run(int64_t started, ERunEnd end = ERunEnd::GOOD)
{
    return {.started = at(started), .end = end};
}

const SPace PACE = {.every = 100s, .grace = 10s};

/// "missed; last 0 good 0 due 100; missing 100-150!"
std::string textOf(const SJobStatus& status)
{
    const auto second = [](UtcTime time) { return std::to_string(time.time_since_epoch() / 1s); };
    std::string text = JOB_STATE_NAMES[static_cast<size_t>(status.state)];
    text += "; last " + (status.last ? second(status.last->started) : "-");
    text += " good " + (status.lastGood ? second(status.lastGood->started) : "-");
    text += " due " + second(status.due);
    for (const SMissingRun& missing : status.missing) {
        text += "; missing " + second(missing.from) + "-" + second(missing.until) + (missing.isOverdue ? "!" : "");
    }
    return text;
}

TEST(JobStatus, IsToldByTheRunsAndTheTime)
{
    struct SCase
    {
        std::vector<SJobRun> runs;
        int64_t now;
        const char* status;
    };
    const SCase cases[] = {
        {{}, 0, "never ran; last - good - due 100"},
        {{}, 110, "never ran; last - good - due 100"},
        {{}, 111, "missed; last - good - due 100; missing 100-111!"},
        {{run(500)}, 600, "ok; last 500 good 500 due 600"},
        {{run(500)}, 610, "ok; last 500 good 500 due 600"},
        {{run(500)}, 611, "missed; last 500 good 500 due 600; missing 600-611!"},
        {{run(0), run(110)}, 120, "ok; last 110 good 110 due 210"},
        {{run(0), run(111)}, 120, "ok; last 111 good 111 due 211; missing 100-111"},
        {{run(0), run(10), run(20)}, 30, "ok; last 20 good 20 due 120"},
        {{run(0), run(100, ERunEnd::FAILED)}, 150, "failed; last 100 good 0 due 200"},
        {{run(0), run(100, ERunEnd::DID_NOT_END)}, 150, "failed; last 100 good 0 due 200"},
        {{run(0), run(100, ERunEnd::FAILED)}, 211, "missed; last 100 good 0 due 200; missing 200-211!"},
        {{run(0, ERunEnd::FAILED), run(50)}, 60, "ok; last 50 good 50 due 150"},
        {{run(0), run(100, ERunEnd::RUNNING)}, 150, "ok; last 100 good 0 due 200"},
        {{run(0, ERunEnd::FAILED), run(100, ERunEnd::RUNNING)}, 150, "failed; last 100 good - due 200"},
        {{run(0, ERunEnd::RUNNING)}, 50, "ok; last 0 good - due 100"},
        {{run(0, ERunEnd::RUNNING)}, 111, "missed; last 0 good - due 100; missing 100-111!"},
        {{run(0), run(900)}, 50, "ok; last 0 good 0 due 100"},
    };
    for (const SCase& each : cases) {
        EXPECT_EQ(textOf(judgeRuns(PACE, at(0), each.runs, at(each.now))), each.status) << each.now;
    }
}

TEST(JobStatus, WhatWasDueBeforeTheFileWasChangedIsDueThen)
{
    const std::vector<SJobRun> weekly = {run(0), run(700), run(1400)};
    EXPECT_EQ(textOf(judgeRuns(PACE, at(1900), weekly, at(1901))), "ok; last 1400 good 1400 due 1900");
    EXPECT_EQ(textOf(judgeRuns(PACE, at(1900), weekly, at(1910))), "ok; last 1400 good 1400 due 1900");
    EXPECT_EQ(textOf(judgeRuns(PACE, at(1900), weekly, at(1911))),
              "missed; last 1400 good 1400 due 1900; missing 1900-1911!");
    EXPECT_EQ(textOf(judgeRuns(PACE, at(1450), weekly, at(1460))), "ok; last 1400 good 1400 due 1500")
        << "a change between two runs moves none";
}

TEST(JobStatus, KnowsTheLastRunThatHasEndedBesideTheLast)
{
    const SJobStatus status = judgeRuns(PACE, at(0), {run(0, ERunEnd::FAILED), run(50, ERunEnd::RUNNING)}, at(60));
    ASSERT_TRUE(status.lastEnded);
    EXPECT_EQ(status.lastEnded->started, at(0));
    EXPECT_EQ(status.last->started, at(50));
}

/// Second by second: one after the file's change in which the run before began EVERY ago or longer lacks one; as many
/// of them in a row as GRACE has are forgiven.
std::vector<SMissingRun> missingByReference(const SPace& pace, UtcTime since, const std::vector<SJobRun>& runs,
                                            int64_t now)
{
    std::vector<SMissingRun> all;
    std::optional<UtcTime> before;
    if (runs.empty() || runs.front().started > at(now)) before = since;
    bool isInside = false;
    for (int64_t second = 0; second < now; ++second) {
        for (const SJobRun& each : runs) {
            if (each.started == at(second)) before = at(second);
        }
        const bool isLacking = before && at(second) - *before >= pace.every && at(second) >= since;
        if (isLacking && !isInside) all.push_back({.from = at(second)});
        isInside = isLacking;
        if (isLacking) all.back().until = at(second + 1);
    }
    std::vector<SMissingRun> missing;
    for (SMissingRun each : all) {
        each.isOverdue = each.until == at(now);
        for (const SJobRun& other : runs) {
            if (other.started == at(now)) each.isOverdue = false;
        }
        if (each.until - each.from > pace.grace) missing.push_back(each);
    }
    return missing;
}

TEST(JobStatus, MissesWhatAPlainReferenceMisses)
{
    std::mt19937 random(20260131);  // NOLINT(cert-msc51-cpp): the same runs each time
    const auto upTo = [&](int64_t most) { return std::uniform_int_distribution<int64_t>(0, most)(random); };
    size_t found = 0;
    for (int round = 0; round < 5000; ++round) {
        const SPace pace = {.every = Second(1 + upTo(30)), .grace = Second(upTo(10))};
        const UtcTime since = at(upTo(100));
        std::vector<SJobRun> runs;
        for (int64_t second = upTo(60); second < 200; second += 1 + upTo(50)) {
            runs.push_back(run(second, static_cast<ERunEnd>(upTo(3))));
        }
        const int64_t now = upTo(200);
        const SJobStatus status = judgeRuns(pace, since, runs, at(now));
        SJobStatus reference = status;
        reference.missing = missingByReference(pace, since, runs, now);
        ASSERT_EQ(textOf(status), textOf(reference)) << "round " << round << ", now " << now;
        const bool isOverdue = !reference.missing.empty() && reference.missing.back().isOverdue;
        ASSERT_EQ(status.state == EJobState::MISSED, isOverdue) << "round " << round;
        found += reference.missing.size();
    }
    EXPECT_GT(found, 1000U) << "the rounds say something";
}

}  // namespace

}  // namespace fictl
