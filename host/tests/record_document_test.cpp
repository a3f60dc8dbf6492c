#include "host/src/catalog/record_document.h"

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "host/src/output/error.h"
#include "host/src/provider/naming.h"

namespace fictl {

namespace {

using nlohmann::json;

SSnapshot sample()
{
    SSnapshot snapshot;
    snapshot.name = "nightly";
    snapshot.provider = "cdpfi";
    snapshot.checkpoint = "KSV_Check_Point_7";
    snapshot.created = "2024-01-31T12:00:00Z";
    for (const char* serial : {"L1", "L2"}) {
        SDevice device;
        device.source = std::string("/dev/") + serial;
        device.node = std::string("<cdpfi>") + serial;
        device.target = naming::targetDevice("cdpfi", serial, snapshot.checkpoint);
        device.state = {"Lumora", "ap1", "cg1", "", snapshot.checkpoint, serial};
        device.made = EMade::YES;
        snapshot.devices.push_back(device);
    }
    return snapshot;
}

std::string refusal(const std::string& text)
{
    try {
        readDocument(text);
    } catch (const EFictl& error) {
        EXPECT_EQ(error.exit(), EExit::BAD_RECORD);
        return error.what();
    }
    return "accepted";
}

struct SRefused
{
    const char* what;
    std::function<void(json&)> change;
    const char* reason;
};

const std::string STATE_OF_L1 = writeNodeState({"Lumora", "ap1", "cg1", "", "KSV_Check_Point_7", "L1"});

const std::vector<SRefused>& refusedDocuments()
{
    static const std::vector<SRefused> all = {
        {"no object", [](json& d) { d = json::array(); }, "it is not an object"},
        {"no format", [](json& d) { d.erase("format"); }, "\"format\" is not \"fictl-snapshot\""},
        {"other format", [](json& d) { d["format"] = "tar"; }, "\"format\" is not \"fictl-snapshot\""},
        {"format a number", [](json& d) { d["format"] = 1; }, "\"format\" is not \"fictl-snapshot\""},
        {"no version", [](json& d) { d.erase("version"); }, "\"version\" is not a number"},
        {"version a text", [](json& d) { d["version"] = "1"; }, "\"version\" is not a number"},
        {"version a fraction", [](json& d) { d["version"] = 1.5; }, "\"version\" is not a number"},
        {"unknown schema", [](json& d) { d["schema_version"] = 2; }, "its \"schema_version\" is unknown"},
        {"schema a text", [](json& d) { d["schema_version"] = "1"; }, "its \"schema_version\" is unknown"},
        {"unknown version", [](json& d) { d["version"] = 3; },
         "version 3 is unknown; this fictl reads versions 1 and 2"},
        {"unknown key", [](json& d) { d["more"] = 1; }, "the document has the unknown key \"more\""},
        {"no name", [](json& d) { d.erase("name"); }, "the document has no \"name\""},
        {"name a number", [](json& d) { d["name"] = 5; }, "\"name\" is not a text"},
        {"empty name", [](json& d) { d["name"] = ""; }, "\"name\" is empty or too long"},
        {"name a path", [](json& d) { d["name"] = "../x"; }, "\"name\" is not a snapshot's name"},
        {"name an option", [](json& d) { d["name"] = "--forget"; }, "\"name\" is not a snapshot's name"},
        {"provider a path", [](json& d) { d["provider"] = "/tmp/libx.so"; }, "\"provider\" is not a provider's name"},
        {"checkpoint of another form", [](json& d) { d["checkpoint"] = "nightly"; }, "is not a checkpoint's name"},
        {"control character", [](json& d) { d["created"] = "a\nb"; }, "\"created\" holds control characters"},
        {"no devices", [](json& d) { d["devices"] = json::array(); }, "not a list of 1 to 4096 devices"},
        {"devices an object", [](json& d) { d["devices"] = json::object(); }, "not a list of 1 to 4096 devices"},
    };
    return all;
}

const std::vector<SRefused>& refusedDevices()
{
    static const std::vector<SRefused> all = {
        {"device a text", [](json& d) { d["devices"][0] = "x"; }, "device 1 is not an object"},
        {"device without source", [](json& d) { d["devices"][1].erase("source"); }, "device 2 has no \"source\""},
        {"device with more", [](json& d) { d["devices"][1]["path"] = ""; }, "device 2 has the unknown key \"path\""},
        {"source with escape", [](json& d) { d["devices"][0]["source"] = "\x1b[31m"; }, "holds control characters"},
        {"source too long", [](json& d) { d["devices"][0]["source"] = std::string(4097, 'a'); },
         "is empty or too long"},
        {"source null", [](json& d) { d["devices"][0]["source"] = nullptr; }, "\"source\" is not a text"},
        {"source twice", [](json& d) { d["devices"][1]["source"] = "/dev/L1"; },
         "device 2: its \"source\" stands twice"},
        {"node twice",
         [](json& d) {
             d["devices"][1] = d["devices"][0];
             d["devices"][1]["source"] = "/dev/x";
         },
         "device 2: its \"node\" stands twice"},
        {"node of another serial", [](json& d) { d["devices"][0]["node"] = "<cdpfi>L9"; },
         "does not belong to the serial"},
        {"node of another provider", [](json& d) { d["devices"][0]["node"] = "<x>L1"; },
         "does not belong to the serial"},
        {"target a device path", [](json& d) { d["devices"][0]["target"] = "/dev/sda"; },
         "\"target\" does not belong to serial and checkpoint"},
        {"target of another checkpoint",
         [](json& d) { d["devices"][0]["target"] = naming::targetDevice("cdpfi", "L1", "KSV_Check_Point_8"); },
         "\"target\" does not belong to serial and checkpoint"},
        {"state cut", [](json& d) { d["devices"][0]["state"] = STATE_OF_L1.substr(0, 50); }, "is not a node's state"},
        {"state with more", [](json& d) { d["devices"][0]["state"] = STATE_OF_L1 + "<X></X>\n"; },
         "is not a node's state"},
        {"state of another checkpoint",
         [](json& d) {
             d["devices"][0]["state"] = writeNodeState({"Lumora", "ap1", "cg1", "", "KSV_Check_Point_8", "L1"});
         },
         "names another checkpoint"},
        {"state with a time image",
         [](json& d) {
             d["devices"][0]["state"] = writeNodeState({"Lumora", "ap1", "cg1", "X", "KSV_Check_Point_7", "L1"});
         },
         "names a time image"},
        {"state without a group",
         [](json& d) {
             d["devices"][0]["state"] = writeNodeState({"Lumora", "ap1", "", "", "KSV_Check_Point_7", "L1"});
         },
         "lacks appliance, group or serial"},
    };
    return all;
}

void expectRefused(const SRefused& refused)
{
    json document = json::parse(writeDocument(sample()));
    refused.change(document);
    EXPECT_NE(refusal(document.dump()).find(refused.reason), std::string::npos)
        << refused.what << ": " << refusal(document.dump());
}

}  // namespace

TEST(RecordDocument, CarriesARecord)
{
    const SSnapshot before = sample();
    const SSnapshot after = readDocument(writeDocument(before));
    EXPECT_EQ(after.name, before.name);
    EXPECT_EQ(after.provider, before.provider);
    EXPECT_EQ(after.created, before.created);
    EXPECT_EQ(after.checkpoint, before.checkpoint);
    EXPECT_EQ(after.origin, "received");
    EXPECT_EQ(after.state, EState::COMPLETE);
    ASSERT_EQ(after.devices.size(), 2U);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(after.devices[i].source, before.devices[i].source);
        EXPECT_EQ(after.devices[i].node, before.devices[i].node);
        EXPECT_EQ(after.devices[i].target, before.devices[i].target);
        EXPECT_EQ(after.devices[i].state, before.devices[i].state);
        EXPECT_EQ(after.devices[i].made, EMade::YES);
    }
}

TEST(RecordDocument, CarriesLabelsAndANoteInAVersionOfItsOwn)
{
    SSnapshot before = sample();
    EXPECT_EQ(json::parse(writeDocument(before))["version"], 1);
    before.labels = {{"tier", "gold"}, {"urgent", ""}};
    before.note = "before the upgrade";
    EXPECT_EQ(json::parse(writeDocument(before))["version"], 2);
    const SSnapshot after = readDocument(writeDocument(before));
    EXPECT_EQ(after.labels, before.labels);
    EXPECT_EQ(after.note, before.note);
}

TEST(RecordDocument, RefusesLabelsAndNotesThatAreNone)
{
    SSnapshot labelled = sample();
    labelled.note = "n";
    const json good = json::parse(writeDocument(labelled));
    const auto refusalOf = [&](const char* key, const json& value) {
        json document = good;
        document[key] = value;
        return refusal(document.dump());
    };
    EXPECT_NE(refusalOf("labels", json::array()).find("its \"labels\" are not an object"), std::string::npos);
    EXPECT_NE(refusalOf("labels", {{"a b", "1"}}).find("\"a b\" in its \"labels\" is no label"), std::string::npos);
    EXPECT_NE(refusalOf("labels", {{"a", 1}}).find("\"a\" in its \"labels\" is no label"), std::string::npos);
    EXPECT_NE(refusalOf("labels", {{"a", "\n"}}).find("\"a\" in its \"labels\" is no label"), std::string::npos);
    json many = json::object();
    for (int i = 0; i < 65; ++i) {
        many["k" + std::to_string(i)] = "";
    }
    EXPECT_NE(refusalOf("labels", many).find("with at most 64 labels"), std::string::npos);
    EXPECT_NE(refusalOf("note", 1).find("its \"note\" is no note"), std::string::npos);
    EXPECT_NE(refusalOf("note", std::string(1025, 'n')).find("its \"note\" is no note"), std::string::npos);
    EXPECT_NE(refusalOf("version", 1).find("has the unknown key"), std::string::npos);
    json bare = json::parse(writeDocument(sample()));
    bare["version"] = 2;
    EXPECT_NE(refusal(bare.dump()).find("the document has no"), std::string::npos);
}

TEST(RecordDocument, RefusesWhatIsNotARecord)
{
    for (const SRefused& refused : refusedDocuments()) {
        expectRefused(refused);
    }
}

TEST(RecordDocument, RefusesDevicesThatAreNotOfOneRecord)
{
    for (const SRefused& refused : refusedDevices()) {
        expectRefused(refused);
    }
}

TEST(RecordDocument, RefusesWhatIsNotJson)
{
    const std::string good = writeDocument(sample());
    EXPECT_NE(refusal("").find("parse error"), std::string::npos);
    EXPECT_NE(refusal(good + "{}").find("parse error"), std::string::npos);
    EXPECT_NE(refusal(good.substr(0, good.size() / 2)).find("parse error"), std::string::npos);
    EXPECT_NE(refusal(std::string("\0", 1) + good).find("parse error"), std::string::npos);
    EXPECT_NE(refusal("{\"name\": \"\xff\"}").find("parse error"), std::string::npos);
}

TEST(RecordDocument, RefusesWhatIsTooLargeTooDeepOrDoubled)
{
    EXPECT_NE(refusal(std::string(DOCUMENT_LIMIT + 1, ' ')).find("larger than 1 MiB"), std::string::npos);
    EXPECT_NE(refusal(std::string(100000, '[')).find("nested too deeply"), std::string::npos);
    std::string deep;
    for (int i = 0; i < 10000; ++i) {
        deep += "{\"a\":";
    }
    EXPECT_NE(refusal(deep).find("nested too deeply"), std::string::npos);
    EXPECT_NE(refusal("{\"name\":\"a\",\"name\":\"b\"}").find("key \"name\" stands twice"), std::string::npos);
}

TEST(RecordDocument, NeverCrashesOnACutOrChangedDocument)
{
    const std::string good = writeDocument(sample());
    for (size_t at = 0; at < good.size(); ++at) {
        refusal(good.substr(0, at));
        for (const char c : {'\0', '"', '}', '9'}) {
            std::string changed = good;
            changed[at] = c;
            refusal(changed);
        }
    }
}

}  // namespace fictl
