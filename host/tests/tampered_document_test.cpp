// Documents that somebody changed on their way: none of them leads to what belongs to another record.
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "host/tests/fictl_fixture.h"

namespace {

using nlohmann::json;

struct STampering
{
    const char* name;
    std::function<void(json& document, const json& victim)> change;
    int exit;  ///< of receive
};

std::string stateOf(const json& document, size_t device)
{
    return document["devices"][device]["state"];
}

/// Gives a tag of a device's state another value.
void setTag(json& document, size_t device, const std::string& tag, const std::string& value)
{
    std::string state = stateOf(document, device);
    const size_t begin = state.find("<" + tag + ">") + tag.size() + 2;
    state.replace(begin, state.find("</" + tag + ">") - begin, value);
    document["devices"][device]["state"] = state;
}

/// A device whose values all agree with each other.
void setDevice(json& document, size_t device, const std::string& appliance, const std::string& group,
               const std::string& serial, const std::string& checkpoint)
{
    setTag(document, device, "ApplianceName", appliance);
    setTag(document, device, "ConsistencyGroup", group);
    setTag(document, device, "SerialNo", serial);
    setTag(document, device, "CheckPointName", checkpoint);
    document["devices"][device]["node"] = "<fakefi>" + serial;
    document["devices"][device]["target"] =
        "<fakefi><DeviceID>" + serial + "<DeviceID/><Annotation>" + checkpoint + "<Annotation/>";
}

void setCheckpoint(json& document, const std::string& checkpoint)
{
    document["checkpoint"] = checkpoint;
    for (size_t i = 0; i < document["devices"].size(); ++i) {
        const std::string serial = i == 0 ? "S1" : "S3";
        setDevice(document, i, "ap1", i == 0 ? "g1" : "g2", serial, checkpoint);
    }
}

std::string own(const json& document)
{
    return document["checkpoint"];
}

std::string of(const json& victim)
{
    return victim["checkpoint"];
}

const STampering TAMPERINGS[] = {
    {"TheGroupOfAnotherRecord", [](json& d, const json&) { setTag(d, 0, "ConsistencyGroup", "g3"); }, 13},
    {"TheGroupAndApplianceOfAnotherRecord", [](json& d, const json&) { setDevice(d, 0, "ap2", "g3", "S1", own(d)); },
     13},
    {"TheLunOfAnotherRecord", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "S4", own(d)); }, 13},
    {"AnotherRecordWholeUnderItsOwnCheckpoint",
     [](json& d, const json& v) {
         d["devices"] = json::array({d["devices"][0]});
         d["checkpoint"] = of(v);
         setDevice(d, 0, "ap2", "g3", "S4", of(v));
     },
     13},
    {"TheCheckpointOfAnotherRecord", [](json& d, const json& v) { setCheckpoint(d, of(v)); }, 13},
    {"TheCheckpointOfAnotherRecordInOneState", [](json& d, const json& v) { setTag(d, 0, "CheckPointName", of(v)); },
     13},
    {"TheCheckpointOfAnotherRecordInTheHeadAlone", [](json& d, const json& v) { d["checkpoint"] = of(v); }, 13},
    {"TheTargetOfAnotherRecord",
     [](json& d, const json& v) {
         d["devices"][0]["target"] = "<fakefi><DeviceID>S4<DeviceID/><Annotation>" + of(v) + "<Annotation/>";
     },
     13},
    {"TheNodeOfAnotherRecord", [](json& d, const json&) { d["devices"][0]["node"] = "<fakefi>S4"; }, 13},
    {"TheTimeImageOfAnotherRecord",
     [](json& d, const json& v) { setTag(d, 0, "TimeImage", "KSV_Time_Image_" + of(v).substr(16)); }, 13},
    {"AnApplianceThatIsNotConfigured", [](json& d, const json&) { setTag(d, 0, "ApplianceName", "ap9"); }, 13},
    {"AGroupThatIsNotThere", [](json& d, const json&) { setTag(d, 0, "ConsistencyGroup", "g9"); }, 13},
    {"AGroupThatOnlyAnotherApplianceHas", [](json& d, const json&) { setTag(d, 0, "ConsistencyGroup", "g3"); }, 13},
    {"ALunThatNobodyHas", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "S9", own(d)); }, 13},
    {"ALunOfTheOtherGroup", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "S3", own(d)); }, 13},
    {"ACheckpointThatIsNotThere", [](json& d, const json&) { setCheckpoint(d, "KSV_Check_Point_999999999"); }, 13},
    {"ACheckpointOfAnotherForm", [](json& d, const json&) { setCheckpoint(d, "nightly"); }, 13},
    {"ACheckpointWithMoreThanANumber", [](json& d, const json& v) { setCheckpoint(d, of(v) + " "); }, 13},
    {"ASerialThatIsAPath", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "/dev/fake4", own(d)); }, 13},
    {"ASerialThatIsARelativePath", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "dev/S4", own(d)); }, 13},
    {"ASerialThatIsItsGroup", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "g1", own(d)); }, 13},
    {"ASerialThatIsTheOtherDevicesGroup", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "g2", own(d)); }, 13},
    {"ASerialThatIsAGroupOfAnotherRecord", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "g3", own(d)); },
     13},
    {"ASerialThatIsEmpty", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "", own(d)); }, 13},
    {"ASerialWithATagInIt",
     [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "S1<DeviceID/><DeviceID>S4", own(d)); }, 13},
    {"ASerialWithANewline", [](json& d, const json&) { setDevice(d, 0, "ap1", "g1", "S1\nS4", own(d)); }, 13},
    {"AGroupWithAQuote", [](json& d, const json&) { setTag(d, 0, "ConsistencyGroup", "g1\" \"g3"); }, 13},
    {"AnotherTagInFront",
     [](json& d, const json&) {
         d["devices"][0]["state"] = "<ConsistencyGroup>g3</ConsistencyGroup>\n" + stateOf(d, 0);
     },
     13},
    {"ASecondGroupBehind",
     [](json& d, const json&) {
         d["devices"][0]["state"] = stateOf(d, 0) + "<ConsistencyGroup>g3</ConsistencyGroup>\n";
     },
     13},
    {"AProviderThatIsNotAllowed",
     [](json& d, const json&) {
         std::string text = d.dump();
         for (size_t at = 0; (at = text.find("fakefi", at)) != std::string::npos;) {
             text.replace(at, 6, "evilfi");
         }
         d = json::parse(text);
     },
     13},
    {"AProviderThatIsAPath", [](json& d, const json&) { d["provider"] = "/tmp/libevil"; }, 13},
    {"TheNameOfAnotherRecord", [](json& d, const json&) { d["name"] = "victim"; }, 4},
    {"ANameThatIsAnOption", [](json& d, const json&) { d["name"] = "--forget"; }, 13},
    {"TheSameDeviceTwice", [](json& d, const json&) { d["devices"].push_back(d["devices"][0]); }, 13},
    {"ADeviceOfAnotherRecordAdded",
     [](json& d, const json&) {
         d["devices"].push_back(d["devices"][0]);
         d["devices"][2]["source"] = "/dev/fake4";
         setDevice(d, 2, "ap2", "g3", "S4", own(d));
     },
     13},
    {"AnImportPathOfItsOwn", [](json& d, const json&) { d["devices"][0]["import_path"] = "/dev/fake4"; }, 13},
    {"AStateOfItsOwn", [](json& d, const json&) { d["state"] = "imported"; }, 13},
};

class CTamperedDocumentTest : public CFictlTest, public testing::WithParamInterface<STampering>
{
  protected:
    /// A snapshot whose copy is imported here, and the document of another one that this catalog has forgotten.
    void makeRecords()
    {
        ASSERT_EQ(fictl({"snapshot", "create", "victim", "/dev/fake4"}).exit, 0);
        ASSERT_EQ(fictl({"snapshot", "import", "victim"}).exit, 0);
        m_victim = fictlJson({"snapshot", "show", "victim"}).document()["snapshot"];
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 0);
        m_document = fictl({"snapshot", "export", "s"}).document();
        ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    }

    json m_victim;
    json m_document;
};

TEST_P(CTamperedDocumentTest, LeadsToNothingOfAnotherRecord)
{
    makeRecords();
    const std::vector<std::string> before = objects();

    GetParam().change(m_document, m_victim);
    const SRun received = receive(m_document.dump());
    EXPECT_EQ(received.exit, GetParam().exit) << received.out;
    EXPECT_EQ(state("s"), "") << "nothing was entered";
    for (const char* verb : {"import", "release", "delete"}) {
        fictl({"snapshot", verb, "s"});
    }
    EXPECT_EQ(objects(), before);
    EXPECT_EQ(fictlJson({"snapshot", "show", "victim"}).document()["snapshot"], m_victim);
}

// Where nothing can be looked at when it is received, the same holds for what the record is used for.
TEST_P(CTamperedDocumentTest, LeadsToNothingOfAnotherRecordWithoutAnInspector)
{
    leaveInspectorAway();
    makeRecords();
    const std::vector<std::string> before = objects();
    const auto isVictims = [](const std::string& object) { return object.starts_with("ap2.g3."); };
    const auto victims = static_cast<size_t>(std::count_if(before.begin(), before.end(), isVictims));
    ASSERT_EQ(victims, 2U);

    GetParam().change(m_document, m_victim);
    receive(m_document.dump());
    for (const char* verb : {"import", "delete"}) {
        fictl({"snapshot", verb, "s"});
    }
    const std::vector<std::string> after = objects();
    EXPECT_EQ(static_cast<size_t>(std::count_if(after.begin(), after.end(), isVictims)), victims);
    EXPECT_EQ(fictlJson({"snapshot", "show", "victim"}).document()["snapshot"], m_victim);
}

INSTANTIATE_TEST_SUITE_P(Tampered, CTamperedDocumentTest, testing::ValuesIn(TAMPERINGS),
                         [](const testing::TestParamInfo<STampering>& tried) { return std::string(tried.param.name); });

TEST_F(CFictlTest, ADocumentAsItWasWrittenIsReceived)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 0);
    const std::string document = fictl({"snapshot", "export", "s"}).out;
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    EXPECT_EQ(receive(document).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

/// A catalog that somebody changed.
class CTamperedCatalogTest : public CFictlTest
{
  protected:
    void change(const std::string& sql) const
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open((m_root + "/var/lib/qz/fictl.db").c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
        sqlite3_close(db);
    }
};

TEST_F(CTamperedCatalogTest, ARecordThatDoesNotAgreeWithItselfIsNeitherImportedNorDeleted)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const std::vector<std::string> before = objects();
    for (const char* column :
         {"serial = 'S4'", "node = '<fakefi>S4'", "serial = '/dev/fake4'", "cgroup = 'S1'",
          "checkpoint = 'KSV_Check_Point_1'", "appliance = ''", "time_image = 'KSV_Time_Image_1'"}) {
        change("CREATE TABLE kept AS SELECT * FROM device; UPDATE device SET " + std::string(column));
        for (const auto& [verb, done] : {std::pair("import", "imported"), std::pair("delete", "deleted")}) {
            const SRun run = fictlJson({"snapshot", verb, "s"});
            EXPECT_EQ(run.exit, 13) << column << run.out;
            const std::string message = run.document()["error"]["message"];
            EXPECT_TRUE(message.starts_with("snapshot \"s\": its record does not agree with itself: device 1: "))
                << message;
            EXPECT_TRUE(message.ends_with(std::string("; nothing was ") + done)) << message;
            EXPECT_EQ(state("s"), "complete");
        }
        EXPECT_EQ(fictl({"snapshot", "delete", "s", "--even-if-in-use"}).exit, 13) << column;
        change("DELETE FROM device; INSERT INTO device SELECT * FROM kept; DROP TABLE kept");
    }
    EXPECT_EQ(objects(), before);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CTamperedCatalogTest, OfTwoRecordsOfOneCheckpointNeitherIsImported)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    change(
        "INSERT INTO snapshot SELECT 't', state, provider, checkpoint, created, origin, thaw, message, pid, boot_id, "
        "start_time, exported, pid_namespace, owner_lock, creator, note FROM snapshot; "
        "INSERT INTO device SELECT 't', position, source, node, target, made, import_path, appliance_type, appliance, "
        "cgroup, time_image, checkpoint, serial, import_serial, image_asked FROM device");
    const SRun run = fictlJson({"snapshot", "import", "t"});
    EXPECT_EQ(run.exit, 13);
    EXPECT_TRUE(run.document()["error"]["message"].get<std::string>().ends_with(
        " of group \"g1\" of appliance \"ap1\" belongs to snapshot \"s\" of this catalog, too; nothing was imported"))
        << run.out;
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(fictl({"snapshot", "delete", "t"}).exit, 0) << "which leaves the checkpoint to the other one";
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
}

TEST_F(CFictlTest, AnAdministratorAllowsOtherProviders)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const std::string document = fictl({"snapshot", "export", "s"}).out;
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    const SRun refused = run({"snapshot", "receive"}, document);
    EXPECT_EQ(refused.exit, 13);
    EXPECT_EQ(refused.err,
              "fictl: snapshot \"s\": provider \"fakefi\" is not allowed on this host; the record was not "
              "entered\n  next: an administrator allows it with PROVIDERS= in section [RECEIVE] of "
              "/etc/qz/fictl.conf\n");
    std::filesystem::create_directories(m_root + "/etc/qz");
    base_test::writeFile(m_root + "/etc/qz/fictl.conf", "[RECEIVE]\nPROVIDERS=cdpfi, fakefi\n");
    EXPECT_EQ(run({"snapshot", "receive"}, document).exit, 0);
    // What the administrator says holds for the provider in use, too.
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    base_test::writeFile(m_root + "/etc/qz/fictl.conf", "[RECEIVE]\nPROVIDERS=cdpfi\n");
    EXPECT_EQ(receive(document).exit, 13);
}

}  // namespace
