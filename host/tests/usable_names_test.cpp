// Which names of an appliance's objects fictl works with, and that what carries them gives them back the same.
#include "host/src/provider/usable_names.h"

#include <gtest/gtest.h>

#include "base/tests/name_corpus.h"
#include "host/src/catalog/record_document.h"
#include "host/src/output/error.h"
#include "host/src/provider/naming.h"
#include "host/src/runs/appliance_answer.h"
#include "host/src/runs/appliance_report.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

using base_test::nameCorpus;
using base_test::SCorpusName;

std::string reasonFor(ENamed object, const std::string& name)
{
    const std::optional<SNameProblem> problem = findNameProblem("cdpfi", object, name);
    if (!problem) return {};
    EXPECT_TRUE(isPlainText(problem->reason)) << printable(problem->reason);
    EXPECT_FALSE(problem->next.empty());
    return problem->reason;
}

/// A complete snapshot of one LUN.
SSnapshot snapshotOf(const std::string& appliance, const std::string& group, const std::string& serial)
{
    SSnapshot snapshot;
    snapshot.name = "nightly";
    snapshot.provider = "cdpfi";
    snapshot.checkpoint = "KSV_Check_Point_7";
    snapshot.created = "2026-11-21T01:51:22Z";
    SDevice device;
    device.source = "/dev/sdb";
    device.node = naming::nodePrefix("cdpfi") + serial;
    device.target = naming::targetDevice("cdpfi", serial, snapshot.checkpoint);
    device.state = {"Lumora", appliance, group, "", snapshot.checkpoint, serial};
    snapshot.devices.push_back(device);
    return snapshot;
}

// What a document makes of a record: why it refuses it, or nothing when it is read back the same.
std::string refusalByDocument(const SSnapshot& snapshot)
{
    try {
        const SSnapshot read = readDocument(writeDocument(snapshot));
        EXPECT_EQ(read.devices.at(0).state, snapshot.devices.at(0).state);
        EXPECT_EQ(read.devices.at(0).node, snapshot.devices.at(0).node);
        EXPECT_EQ(read.devices.at(0).target, snapshot.devices.at(0).target);
        return {};
    } catch (const EFictl& error) {
        return error.what();
    }
}

SRunRecord refusedRun(const std::string& group, int32_t status, const std::string& output)
{
    SRunRecord run;
    run.arguments = {"/usr/bin/lmsh"};
    run.input = "server alpha\n delete  annotation \"KSV_Check_Point_7\" \"" + group + "\"\nexit\n";
    run.inputSize = run.input.size();
    run.process = 1;
    run.result = 1;
    run.exitStatus = status;
    run.output = output;
    run.outputSize = output.size();
    return run;
}

}  // namespace

TEST(UsableNames, OfAGroupAreAllThatNothingMistakesForSomethingElse)
{
    for (const SCorpusName& name : nameCorpus()) {
        const std::string reason = reasonFor(ENamed::GROUP, name.name);
        if (name.unusable.empty()) {
            EXPECT_EQ(reason, "") << name.what;
        } else if (name.name.size() < 300) {
            EXPECT_EQ(reason, "the name of consistency group \"" + printable(name.name) + "\" " + name.unusable);
        } else {
            EXPECT_EQ(reason, "the name of consistency group \"" + name.name.substr(0, 40) + "\"... " + name.unusable);
        }
    }
}

TEST(UsableNames, OfALunAreAllThatTheProvidersNamesCanCarry)
{
    EXPECT_EQ(reasonFor(ENamed::SERIAL, "a/b"), "serial \"a/b\" holds \"/\", which marks a path");
    EXPECT_EQ(reasonFor(ENamed::SERIAL, "<cdpfi>zz"),
              "serial \"<cdpfi>zz\" holds \"<cdpfi>\", which marks a node of the provider");
    EXPECT_EQ(reasonFor(ENamed::SERIAL, "x<DeviceID/>"),
              "serial \"x<DeviceID/>\" holds \"<DeviceID/>\", which marks a part of a target device's name");
    for (const SCorpusName& name : base_test::namesFor(base_test::SERIAL)) {
        if (name.unusable.empty() && name.name.find('/') == std::string::npos) {
            EXPECT_EQ(reasonFor(ENamed::SERIAL, name.name), "") << name.what;
        }
    }
}

TEST(UsableNames, OfAnApplianceMayReadLikeANode)
{
    EXPECT_EQ(reasonFor(ENamed::APPLIANCE, "<cdpfi>zz/dev/"), "");
    EXPECT_EQ(reasonFor(ENamed::APPLIANCE, "<TimeImage>"),
              "the name of appliance \"<TimeImage>\" holds \"<TimeImage>\", which marks a part of a node's state");
}

TEST(UsableNames, AreCarriedByStateAndDocumentAndNoOthers)
{
    for (const SCorpusName& name : nameCorpus()) {
        const SSnapshot named = snapshotOf("alpha", name.name, "S1");
        const std::string refusal = refusalByDocument(named);
        EXPECT_EQ(refusal.empty(), name.unusable.empty()) << name.what << ": " << refusal;
        EXPECT_TRUE(isPlainText(refusal)) << name.what;
        if (!name.unusable.empty()) continue;
        EXPECT_EQ(parseNodeState(writeNodeState(named.devices[0].state)), named.devices[0].state) << name.what;
    }
}

TEST(UsableNames, OfALunAreCarriedByNodeAndTargetDevice)
{
    for (const SCorpusName& name : nameCorpus()) {
        if (findNameProblem("cdpfi", ENamed::SERIAL, name.name)) {
            EXPECT_NE(refusalByDocument(snapshotOf("alpha", "a group of its own", name.name)), "") << name.what;
            continue;
        }
        const SSnapshot named = snapshotOf("alpha", "a group of its own", name.name);
        EXPECT_EQ(refusalByDocument(named), "") << name.what;
        EXPECT_EQ(naming::serialOfNode("cdpfi", named.devices[0].node), name.name);
        EXPECT_EQ(naming::checkpointOfTarget(named.devices[0].target), "KSV_Check_Point_7") << name.what;
    }
}

TEST(UsableNames, AreFoundInACommandAndInTheAnswerToIt)
{
    for (const SCorpusName& name : nameCorpus()) {
        if (!name.unusable.empty() && name.name.find_first_of("\"\n") != std::string::npos) continue;
        const std::string missing = "annotation \"KSV_Check_Point_7\" does not exist in group \"" + name.name + "\"";
        const std::optional<SObjectCommand> command = objectCommandOf(refusedRun(name.name, 3, "").input);
        ASSERT_TRUE(command) << name.what;
        EXPECT_EQ(command->group, name.name);
        EXPECT_EQ(judge(refusedRun(name.name, 3, "lmsh: " + missing + "\n")), EAnswer::NOT_THERE) << name.what;
        EXPECT_EQ(judge(refusedRun(name.name, 5, "lmsh: " + missing + "\n")), EAnswer::UNKNOWN) << name.what;
        EXPECT_EQ(judge(refusedRun(name.name, 3, "lmsh: group \"" + name.name + "\" does not exist\n")),
                  EAnswer::UNKNOWN)
            << name.what;
        EXPECT_NE(commandLine(refusedRun(name.name, 3, "")).find('"' + name.name + '"'), std::string::npos)
            << name.what;
    }
}

TEST(UsableNames, OfASnapshot)
{
    for (const SCorpusName& name : nameCorpus()) {
        EXPECT_EQ(isSnapshotName(name.name), name.isFor(base_test::SNAPSHOT)) << name.what;
    }
}

}  // namespace fictl
